#include "shell/settings/SettingsWindow.h"

#include <QGuiApplication>
#include <QKeySequence>
#include <QScreen>
#include <QScrollArea>
#include <QShortcut>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

#include "conversation/AppCore.h"
#include "shell/prompts/PromptsTab.h"
#include "shell/settings/AdvancedTab.h"
#include "shell/settings/AppearanceTab.h"
#include "shell/settings/GeneralTab.h"
#include "shell/settings/IntegrationsTab.h"
#include "shell/settings/PrivacyTab.h"
#include "shell/settings/models/ModelsTab.h"

namespace folvane {
namespace {

// A tab's content in a frameless scroll area, so that a short screen still
// reaches every row.
QWidget* scrolling(QWidget* content) {
    auto* area = new QScrollArea;
    area->setWidget(content);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus);
    return area;
}

}  // namespace

QString SettingsWindow::title(SettingsTab tab) {
    switch (tab) {
        case SettingsTab::general:
            return QStringLiteral("General");
        case SettingsTab::models:
            return QStringLiteral("Models");
        case SettingsTab::appearance:
            return QStringLiteral("Appearance");
        case SettingsTab::prompts:
            return QStringLiteral("Prompts");
        case SettingsTab::integrations:
            return QStringLiteral("Integrations");
        case SettingsTab::privacy:
            return QStringLiteral("Privacy");
        case SettingsTab::advanced:
            return QStringLiteral("Advanced");
    }
    return {};
}

QString SettingsWindow::identifier(SettingsTab tab) {
    switch (tab) {
        case SettingsTab::general:
            return QStringLiteral("general-tab");
        case SettingsTab::models:
            return QStringLiteral("model");
        case SettingsTab::appearance:
            return QStringLiteral("appearance");
        case SettingsTab::prompts:
            return QStringLiteral("prompts");
        case SettingsTab::integrations:
            return QStringLiteral("integrations");
        case SettingsTab::privacy:
            return QStringLiteral("privacy");
        case SettingsTab::advanced:
            return QStringLiteral("advanced-tab");
    }
    return {};
}

SettingsWindow::SettingsWindow(AppCore& core, QWidget* parent, GlobalShortcut* shortcut)
    : QWidget(parent, Qt::Window), tabs_(new QTabWidget(this)) {
    setWindowTitle(QStringLiteral("Settings"));
    setAccessibleName(QStringLiteral("Settings"));
    auto& preferences = core.preferences();

    for (const SettingsTab tab : allSettingsTabs) {
        QWidget* page = nullptr;
        switch (tab) {
            case SettingsTab::general:
                page = scrolling(new GeneralTab(preferences));
                break;
            case SettingsTab::models:
                page = new ModelsTab(core);
                break;
            case SettingsTab::appearance:
                page = scrolling(new AppearanceTab(preferences));
                break;
            case SettingsTab::prompts:
                page = new PromptsTab(core.promptList());
                break;
            case SettingsTab::integrations:
                page = scrolling(new IntegrationsTab(preferences, shortcut));
                break;
            case SettingsTab::privacy:
                page = scrolling(new PrivacyTab(preferences));
                break;
            case SettingsTab::advanced:
                page = scrolling(
                    new AdvancedTab(preferences, core.http(),
                                    std::filesystem::path(core.paths().dataDirectory) / "models"));
                break;
        }
        page->setObjectName(identifier(tab));
        tabs_->addTab(page, title(tab));
    }

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(tabs_);
    // As large as the largest tab wants, within the screen; the tabs scroll
    // on a smaller one.
    QSize wanted(720, 480);
    for (int i = 0; i < tabs_->count(); ++i) {
        QWidget* content = tabs_->widget(i);
        if (auto* area = qobject_cast<QScrollArea*>(content)) content = area->widget();
        wanted = wanted.expandedTo(content->sizeHint());
    }
    wanted += QSize(48, tabs_->tabBar()->sizeHint().height() + 48);
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        wanted = wanted.boundedTo(screen->availableSize() * 0.9);
    resize(wanted);

    for (const QKeySequence& keys :
         {QKeySequence(Qt::CTRL | Qt::Key_W), QKeySequence(Qt::Key_Escape)}) {
        auto* shortcut = new QShortcut(keys, this);
        connect(shortcut, &QShortcut::activated, this, &QWidget::close);
    }
}

void SettingsWindow::showTab(SettingsTab tab) {
    tabs_->setCurrentIndex(int(tab));
}

SettingsTab SettingsWindow::currentTab() const {
    return allSettingsTabs[std::size_t(std::max(0, tabs_->currentIndex()))];
}

QWidget* SettingsWindow::page(SettingsTab tab) const {
    return tabs_->widget(int(tab));
}

}  // namespace folvane
