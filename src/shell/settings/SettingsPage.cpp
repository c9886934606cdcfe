#include "shell/settings/SettingsPage.h"

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QButtonGroup>
#include <QCheckBox>
#include <QFormLayout>
#include <QLabel>
#include <QMessageBox>
#include <QRadioButton>
#include <QResizeEvent>
#include <QSignalBlocker>
#include <QStyle>
#include <QVBoxLayout>
#include <algorithm>

#include "store/AppPreferences.h"
#include "store/SettingsError.h"

namespace folvane {
namespace {

// A wrapped note as tall as its lines at the width it has. A plain label's
// hint is its height at a width of its own choosing, and a form's rows under
// a note then stand apart by a line or two.
class Note final : public QLabel {
  public:
    using QLabel::QLabel;

    QSize sizeHint() const override { return atWidth(QLabel::sizeHint()); }
    // Its hint follows its width; said to be height-for-width, the layouts
    // above would ask for its height at their own hint's width instead.
    bool hasHeightForWidth() const override { return false; }
    // A plain label's minimum is its height at its narrowest, which a layout
    // takes over its hint.
    QSize minimumSizeHint() const override { return atWidth(QLabel::minimumSizeHint()); }

  protected:
    void resizeEvent(QResizeEvent* event) override {
        QLabel::resizeEvent(event);
        // After the layout that resized it: a layout forgets what it is told
        // while it sets its geometry.
        if (width() != hintWidth_)
            QMetaObject::invokeMethod(this, &QWidget::updateGeometry, Qt::QueuedConnection);
    }

  private:
    QSize atWidth(QSize size) const {
        hintWidth_ = width();
        if (width() > 0) size.setHeight(heightForWidth(width()));
        return size;
    }

    // The width that the last hint was given for.
    mutable int hintWidth_ = -1;
};

// Lines a note up with the text of the check box or radio button above it.
void alignWithText(QLabel* note, const QAbstractButton* button) {
    const QStyle* style = button->style();
    const bool radio = qobject_cast<const QRadioButton*>(button) != nullptr;
    const int indicator = style->pixelMetric(
        radio ? QStyle::PM_ExclusiveIndicatorWidth : QStyle::PM_IndicatorWidth, nullptr, button);
    const int spacing = style->pixelMetric(
        radio ? QStyle::PM_RadioButtonLabelSpacing : QStyle::PM_CheckBoxLabelSpacing, nullptr,
        button);
    note->setContentsMargins(indicator + spacing, 0, 0, 0);
}

}  // namespace

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
    // Each label is as tall as its control's first line: see addRow.
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignTop);
    form->setFormAlignment(Qt::AlignHCenter | Qt::AlignTop);
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    form->setRowWrapPolicy(QFormLayout::DontWrapRows);
    return form;
}

QLabel* SettingsPage::makeHelp(const QString& text, QWidget* describes, QWidget* parent) {
    auto* label = new Note(text, parent);
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    label->setForegroundRole(QPalette::PlaceholderText);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * 0.9);
    label->setFont(font);
    label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
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

QButtonGroup* SettingsPage::makeChoices(const std::vector<Choice>& choices) {
    auto* box = new QWidget(this);
    box->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    auto* group = new QButtonGroup(box);
    for (const Choice& choice : choices) {
        if (!group->buttons().isEmpty()) layout->addSpacing(6);
        auto* button = new QRadioButton(choice.text, box);
        button->setAccessibleName(choice.text);
        group->addButton(button, choice.id);
        layout->addWidget(button);
        QLabel* note = makeHelp(choice.note, button, box);
        alignWithText(note, button);
        layout->addWidget(note);
    }
    return group;
}

QLabel* SettingsPage::addRow(QFormLayout* form, const QString& text, QWidget* field,
                             QWidget* control) {
    if (!control) control = field;
    auto* label = new QLabel(text, this);
    label->setBuddy(control);
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    // A text area's label stands by its first line.
    const bool isTextArea = qobject_cast<QAbstractScrollArea*>(control) != nullptr;
    label->setFixedHeight(std::max(label->sizeHint().height() + (isTextArea ? 10 : 0),
                                   isTextArea ? 0 : control->sizeHint().height()));
    form->addRow(label, field);
    return label;
}

QWidget* SettingsPage::withHelp(QWidget* control, const QString& help) {
    auto* box = new QWidget(this);
    // As wide as the form, never taller than control and note.
    box->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Maximum);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 4);
    layout->setSpacing(2);
    control->setParent(box);
    // A control that does not grow keeps its size, at the left.
    const bool grows = control->sizePolicy().horizontalPolicy() & QSizePolicy::ExpandFlag;
    layout->addWidget(control, 0, grows ? Qt::Alignment() : Qt::AlignLeft);
    QLabel* label = makeHelp(help, control, box);
    if (auto* button = qobject_cast<QAbstractButton*>(control)) alignWithText(label, button);
    layout->addWidget(label);
    return box;
}

QCheckBox* SettingsPage::addToggle(QFormLayout* form, const QString& text, Setting setting,
                                   const QString& help) {
    // "&" is a letter here, not a mnemonic.
    auto* box = new QCheckBox(QString(text).replace(QLatin1Char('&'), QStringLiteral("&&")), this);
    box->setAccessibleName(text);
    form->addRow(static_cast<QWidget*>(nullptr), help.isEmpty() ? box : withHelp(box, help));
    connect(box, &QCheckBox::toggled, this,
            [this, setting](bool on) { write([&] { preferences_.setValue(setting, on); }); });
    follow({setting}, [this, box, setting] {
        const QSignalBlocker blocker(box);
        box->setChecked(preferences_.value(setting).get<bool>());
    });
    return box;
}

}  // namespace folvane
