#include "shell/settings/SettingsPage.h"

#include <QAbstractButton>
#include <QButtonGroup>
#include <QCheckBox>
#include <QFormLayout>
#include <QLabel>
#include <QMessageBox>
#include <QSignalBlocker>
#include <QStyle>

#include "store/AppPreferences.h"
#include "store/SettingsError.h"

namespace folvane {

SettingsPage::SettingsPage(AppPreferences& preferences, QWidget* parent)
    : QWidget(parent), preferences_(preferences) {
    subscription_ = preferences_.subscribe([this](std::string_view key) { showChange(key); });
}

void SettingsPage::follow(std::vector<Setting> settings, std::function<void()> show) {
    Follower follower{{}, std::move(show)};
    for (const Setting setting : settings) follower.keys.push_back(settingDescriptor(setting).key);
    follower.show();
    followers_.push_back(std::move(follower));
}

void SettingsPage::showChange(std::string_view key) {
    for (const auto& follower : followers_) {
        for (const auto& followed : follower.keys) {
            if (followed != key) continue;
            follower.show();
            break;
        }
    }
}

void SettingsPage::showStored() {
    for (const auto& follower : followers_) follower.show();
}

bool SettingsPage::write(const std::function<void()>& change, bool restoreOnFailure) {
    try {
        change();
        return true;
    } catch (const SettingsError& error) {
        QMessageBox::warning(this, QStringLiteral("Failed"), QString::fromUtf8(error.what()));
        if (restoreOnFailure) showStored();
        return false;
    }
}

QFormLayout* SettingsPage::makeForm(QWidget* parent) {
    auto* form = new QFormLayout(parent);
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    form->setFormAlignment(Qt::AlignHCenter | Qt::AlignTop);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setRowWrapPolicy(QFormLayout::DontWrapRows);
    return form;
}

QLabel* SettingsPage::makeHelp(const QString& text, QWidget* describes, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    label->setForegroundRole(QPalette::PlaceholderText);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * 0.9);
    label->setFont(font);
    if (describes) describes->setAccessibleDescription(text);
    return label;
}

void SettingsPage::makeTabStopAtChoice(QButtonGroup* group) {
    QAbstractButton* chosen = group->checkedButton();
    for (QAbstractButton* button : group->buttons()) {
        const bool stop = chosen ? button == chosen : button == group->buttons().front();
        button->setFocusPolicy(stop ? Qt::StrongFocus : Qt::ClickFocus);
    }
}

void SettingsPage::addHelp(QFormLayout* form, QWidget* control, const QString& help) {
    QLabel* label = makeHelp(help, control, this);
    if (qobject_cast<QCheckBox*>(control)) {
        const QStyle* style = control->style();
        label->setContentsMargins(
            style->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, control) +
                style->pixelMetric(QStyle::PM_CheckBoxLabelSpacing, nullptr, control),
            0, 0, 0);
    }
    form->addRow(QString(), label);
}

QCheckBox* SettingsPage::addToggle(QFormLayout* form, const QString& text, Setting setting,
                                   const QString& help) {
    auto* box = new QCheckBox(text, this);
    box->setAccessibleName(text);
    form->addRow(QString(), box);
    if (!help.isEmpty()) addHelp(form, box, help);
    connect(box, &QCheckBox::toggled, this,
            [this, setting](bool on) { write([&] { preferences_.setValue(setting, on); }); });
    follow({setting}, [this, box, setting] {
        const QSignalBlocker blocker(box);
        box->setChecked(preferences_.value(setting).get<bool>());
    });
    return box;
}

}  // namespace folvane
