#include "shell/menus/MenuBar.h"

#include <QApplication>
#include <QDesktopServices>
#include <QFileDialog>
#include <QMainWindow>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QStyle>

#include "conversation/AppCore.h"
#include "platform/FileUrl.h"
#include "shell/app/WindowManager.h"
#include "shell/chat/ChatWindow.h"
#include "shell/start/ShowInFileManager.h"
#include "shell/viewer/DocumentPane.h"
#include "store/AppPreferences.h"
#include "store/SettingsError.h"

namespace folvane {
namespace {

namespace in = chat_input;

QKeySequence ctrl(int key) {
    return QKeySequence(Qt::CTRL | key);
}
QKeySequence ctrlShift(int key) {
    return QKeySequence(Qt::CTRL | Qt::SHIFT | key);
}

void chooseDocumentsWithDialog(QWidget* parent, const QString& title,
                               std::function<void(const QStringList&)> chosen) {
    auto* dialog = new QFileDialog(parent, title);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(Qt::NonModal);
    dialog->setFileMode(QFileDialog::ExistingFiles);
    dialog->setNameFilter(QStringLiteral("PDF documents (*.pdf)"));
    QObject::connect(dialog, &QFileDialog::filesSelected, dialog,
                     [chosen = std::move(chosen)](const QStringList& paths) { chosen(paths); });
    dialog->show();
}

}  // namespace

MenuDesktop MenuDesktop::standard() {
    return MenuDesktop{
        .chooseDocuments = chooseDocumentsWithDialog,
        .openUrl = [](const QUrl& url) { QDesktopServices::openUrl(url); },
        .chooseSavePath = ExportPanel::chooseWithDialog,
        .reveal = showInFileManager,
    };
}

const std::vector<MenuBar::HelpPage>& MenuBar::helpPages() {
    static const std::vector<HelpPage> pages = {
        {"What's news?", "https://folvane.app/whats-new"},
        {"Follow us on Twitter", "https://twitter.com/folvaneapp"},
        {"Review", "https://folvane.app/review"},
        {"Contact Us", "mailto:support@folvane.app?subject=Folvane%20for%20Linux"},
        {"Frequently Asked Questions", "https://folvane.app/faq"},
        {"Feature Requests", "https://folvane.app/feature-requests"},
        // There is no update check of our own: the releases page says what is new.
        {"Check for Updates...", "https://folvane.app/releases"},
    };
    return pages;
}

MenuBar::MenuBar(WindowManager& windows, QWidget* parent)
    : QMenuBar(parent),
      windows_(windows),
      focused_(windows.core()),
      desktop_(MenuDesktop::standard()) {
    setAccessibleName(QStringLiteral("Menu bar"));
    addFileMenu();
    addEditMenu();
    addViewMenu();
    addGoMenu();
    addConversationMenu();
    addWindowMenu();
    addHelpMenu();
    preferencesSubscription_ =
        windows_.core().preferences().subscribe([this](std::string_view) { showStoredSettings(); });
    showStoredSettings();
}

MenuBar* MenuBar::install(QMainWindow* window, WindowManager& windows) {
    auto* bar = new MenuBar(windows, window);
    window->setMenuBar(bar);
    return bar;
}

QMenu* MenuBar::addTopMenu(const QString& title) {
    // The mnemonic opens the menu from the keyboard (Alt and the letter).
    QMenu* menu = addMenu(QLatin1Char('&') + title);
    menu->setAccessibleName(title);
    return menu;
}

QAction* MenuBar::addEntry(QMenu* menu, const QString& title, const QList<QKeySequence>& keys,
                           std::function<void()> action) {
    // A literal ampersand in a title is doubled, or Qt takes it for a mnemonic.
    QString text = title;
    text.replace(QLatin1Char('&'), QStringLiteral("&&"));
    QAction* entry = menu->addAction(text);
    entry->setShortcuts(keys);
    // Each window's bar answers its own window's keys.
    entry->setShortcutContext(Qt::WindowShortcut);
    connect(entry, &QAction::triggered, this, std::move(action));
    return entry;
}

QAction* MenuBar::addInput(QMenu* menu, const QString& title, const QList<QKeySequence>& keys,
                           ChatDetailInput input) {
    return addEntry(menu, title, keys, [this, input] { focused_.trigger(input); });
}

QAction* MenuBar::addToggle(QMenu* menu, const QString& title, std::function<bool()> read,
                            std::function<void(bool)> write) {
    QAction* entry = addEntry(menu, title, {}, [] {});
    entry->setCheckable(true);
    // triggered, not toggled: showing the stored value writes nothing back.
    connect(entry, &QAction::triggered, this,
            [this, write = std::move(write)](bool on) { changeSettings([&] { write(on); }); });
    showToggles_.push_back([entry, read = std::move(read)] { entry->setChecked(read()); });
    return entry;
}

void MenuBar::changeSettings(const std::function<void()>& change) {
    try {
        change();
    } catch (const SettingsError& error) {
        QMessageBox::warning(window(), QStringLiteral("Failed"), QString::fromUtf8(error.what()));
        showStoredSettings();
    }
}

void MenuBar::showStoredSettings() {
    for (const auto& show : showToggles_) show();
}

void MenuBar::addFileMenu() {
    QMenu* file = addTopMenu(QStringLiteral("File"));
    addEntry(file, QStringLiteral("New Chat..."), {ctrl(Qt::Key_N)},
             [this] { openDocuments(QStringLiteral("New Chat")); });
    addEntry(file, QStringLiteral("Open..."), {ctrl(Qt::Key_O)},
             [this] { openDocuments(QStringLiteral("Open")); });
    recent_ = file->addMenu(QStringLiteral("Open Recent"));
    recent_->setAccessibleName(QStringLiteral("Open Recent"));
    connect(recent_, &QMenu::aboutToShow, this, &MenuBar::fillRecent);
    file->addSeparator();
    addEntry(file, QStringLiteral("Add documents..."), {}, [this] { addDocuments(); });
    file->addSeparator();
    QAction* quit = addEntry(file, QStringLiteral("Quit"), {ctrl(Qt::Key_Q)}, [] {
        // After the menu has closed and the key's event has returned.
        QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
    });
    quit->setMenuRole(QAction::QuitRole);
}

void MenuBar::addEditMenu() {
    QMenu* edit = addTopMenu(QStringLiteral("Edit"));
    // The capital letters of these keys are typed with Shift.
    addInput(edit, QStringLiteral("Regenerate Response"), {ctrlShift(Qt::Key_R)}, in::Regenerate{});
    addInput(edit, QStringLiteral("Copy Last Response"), {ctrlShift(Qt::Key_C)},
             in::CopyLastResponse{});
    addInput(edit, QStringLiteral("Edit Last Message..."), {ctrlShift(Qt::Key_E)},
             in::ShowEditLastMessageForm{});
    QMenu* find = edit->addMenu(QStringLiteral("Find"));
    find->setAccessibleName(QStringLiteral("Find"));
    addEntry(find, QStringLiteral("Find in PDF..."), {ctrl(Qt::Key_F)},
             [this] { showSearch(SearchScope::pdf); });
    addEntry(find, QStringLiteral("Find in Chat..."), {ctrlShift(Qt::Key_F)},
             [this] { showSearch(SearchScope::chat); });
    addInput(find, QStringLiteral("Find Next"), {ctrl(Qt::Key_G)}, in::FindNext{});
    addInput(find, QStringLiteral("Find Previous"), {ctrlShift(Qt::Key_G)}, in::FindPrevious{});
    edit->addSeparator();
    QAction* settings = addEntry(edit, QStringLiteral("Settings..."), {ctrl(Qt::Key_Comma)},
                                 [this] { windows_.showSettings(); });
    settings->setMenuRole(QAction::PreferencesRole);
}

void MenuBar::addViewMenu() {
    QMenu* view = addTopMenu(QStringLiteral("View"));
    AppPreferences& preferences = windows_.core().preferences();
    addToggle(
        view, QStringLiteral("LaTeX & Math Expression"),
        [&preferences] { return preferences.useLaTeX(); },
        [&preferences](bool on) { preferences.setUseLaTeX(on); });
    addToggle(
        view, QStringLiteral("Markdown & Code Syntax"),
        [&preferences] { return preferences.useMarkdown(); },
        [&preferences](bool on) { preferences.setUseMarkdown(on); });
    addToggle(
        view, QStringLiteral("Page References"),
        [&preferences] { return preferences.showPageReferences(); },
        [&preferences](bool on) { preferences.setShowPageReferences(on); });
    view->addSeparator();
    // No limit of their own: each press moves the size by one step.
    auto moveTextSize = [this, &preferences](int steps) {
        changeSettings([&] {
            preferences.setTextSizeAdjustment(
                steps == 0 ? 0 : preferences.textSizeAdjustment() + steps);
        });
    };
    addEntry(view, QStringLiteral("Increase Font Size"), {ctrl(Qt::Key_Plus), ctrl(Qt::Key_Equal)},
             [moveTextSize] { moveTextSize(1); });
    addEntry(view, QStringLiteral("Reset Font Size"), {ctrl(Qt::Key_0)},
             [moveTextSize] { moveTextSize(0); });
    addEntry(view, QStringLiteral("Decrease Font Size"), {ctrl(Qt::Key_Minus)},
             [moveTextSize] { moveTextSize(-1); });
    view->addSeparator();
    documentViewer_ = addEntry(view, QStringLiteral("Hide Document Viewer"), {},
                               [this] { toggleDocumentViewer(); });
    connect(view, &QMenu::aboutToShow, this, &MenuBar::updateDocumentViewerTitle);
}

void MenuBar::addGoMenu() {
    QMenu* go = addTopMenu(QStringLiteral("Go"));
    addInput(go, QStringLiteral("Previous Page"), {}, in::GoToPreviousPage{});
    addInput(go, QStringLiteral("Next Page"), {}, in::GoToNextPage{});
    addInput(go, QStringLiteral("Go to Page..."), {QKeySequence(Qt::CTRL | Qt::ALT | Qt::Key_G)},
             in::ShowGoToForm{});
    go->addSeparator();
    addInput(go, QStringLiteral("Back"), {ctrl(Qt::Key_BracketLeft)}, in::GoBack{});
    addInput(go, QStringLiteral("Forward"), {ctrl(Qt::Key_BracketRight)}, in::GoForward{});
}

void MenuBar::addConversationMenu() {
    QMenu* conversation = addTopMenu(QStringLiteral("Conversation"));
    QMenu* exports = conversation->addMenu(QStringLiteral("Export"));
    exports->setAccessibleName(QStringLiteral("Export"));
    addEntry(exports, QStringLiteral("Export as Markdown"), {},
             [this] { exportChat(ChatExportFormat::markdown); });
    addEntry(exports, QStringLiteral("Export as HTML"), {},
             [this] { exportChat(ChatExportFormat::html); });
    addEntry(exports, QStringLiteral("Export as JSON"), {},
             [this] { exportChat(ChatExportFormat::json); });
    addEntry(conversation, QStringLiteral("Add documents..."), {}, [this] { addDocuments(); });
    conversation->addSeparator();
    addInput(conversation, QStringLiteral("Reset Context"), {ctrlShift(Qt::Key_K)},
             in::ResetContext{});
    addInput(conversation, QStringLiteral("Clear Context Marker"), {}, in::ClearContextMarkers{});
    conversation->addSeparator();
    addEntry(conversation, QStringLiteral("Delete All Messages..."), {},
             [this] { confirmDeleteAllMessages(); });
}

void MenuBar::addWindowMenu() {
    QMenu* window = addTopMenu(QStringLiteral("Window"));
    AppPreferences& preferences = windows_.core().preferences();
    addToggle(
        window, QStringLiteral("Stay On Top"), [&preferences] { return preferences.alwaysOnTop(); },
        [&preferences](bool on) { preferences.setAlwaysOnTop(on); });
}

void MenuBar::addHelpMenu() {
    QMenu* help = addTopMenu(QStringLiteral("Help"));
    for (const HelpPage& page : helpPages()) {
        const QUrl url(QString::fromUtf8(page.url));
        if (page.url == helpPages().back().url) help->addSeparator();
        addEntry(help, QString::fromUtf8(page.title), {}, [this, url] { desktop_.openUrl(url); });
    }
}

void MenuBar::fillRecent() {
    recent_->clear();
    const auto& chats = windows_.core().chatList().state().chats;
    const QIcon pdf = QIcon::fromTheme(QStringLiteral("application-pdf"),
                                       style()->standardIcon(QStyle::SP_FileIcon));
    const QIcon folder =
        QIcon::fromTheme(QStringLiteral("folder"), style()->standardIcon(QStyle::SP_DirIcon));
    const size_t count = std::min(chats.size(), size_t(recentChatCount));
    for (size_t i = 0; i < count; ++i) {
        const Conversation& conversation = chats[i].state().conversation;
        const int64_t id = conversation.id;
        QString title = QString::fromStdString(conversation.title);
        title.replace(QLatin1Char('&'), QStringLiteral("&&"));
        QAction* entry =
            recent_->addAction(conversation.allBookmarkIds().size() < 2 ? pdf : folder, title);
        connect(entry, &QAction::triggered, this, [this, id] { windows_.openChat(id); });
    }
}

void MenuBar::openDocuments(const QString& title) {
    QPointer<QWidget> parent = window();
    desktop_.chooseDocuments(parent, title, [this, parent](const QStringList& paths) {
        if (!paths.isEmpty()) windows_.openFiles(paths, parent);
    });
}

void MenuBar::addDocuments() {
    // The files go to the chat that was focused when they were asked for.
    auto chat = focused_.chat();
    if (!chat) return;
    desktop_.chooseDocuments(FocusedChat::window(), QStringLiteral("Add documents"),
                             [chat](const QStringList& paths) mutable {
                                 if (paths.isEmpty()) return;
                                 std::vector<std::string> urls;
                                 for (const QString& path : paths)
                                     urls.push_back(fileUrlFromPath(path.toStdString()));
                                 chat->trigger(in::AddDocuments{std::move(urls)});
                             });
}

void MenuBar::confirmDeleteAllMessages() {
    auto chat = focused_.chat();
    if (!chat) return;
    auto* alert = new QMessageBox(FocusedChat::window());
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setIcon(QMessageBox::Warning);
    alert->setWindowTitle(QStringLiteral("Delete All Messages?"));
    alert->setText(QStringLiteral("Delete All Messages?"));
    alert->setInformativeText(
        QStringLiteral("Do you want to delete all messages in this conversation?"));
    QPushButton* remove = alert->addButton(QStringLiteral("Delete"), QMessageBox::DestructiveRole);
    QPushButton* cancel = alert->addButton(QStringLiteral("Cancel"), QMessageBox::RejectRole);
    for (QPushButton* button : {remove, cancel}) button->setAccessibleName(button->text());
    alert->setDefaultButton(remove);
    alert->setEscapeButton(cancel);
    connect(remove, &QPushButton::clicked, alert,
            [chat]() mutable { chat->trigger(in::DeleteAllMessages{}); });
    alert->open();
}

void MenuBar::exportChat(ChatExportFormat format) {
    auto chat = focused_.chat();
    if (!chat) return;
    ExportPanel::open(FocusedChat::window(), *chat, format, desktop_.chooseSavePath,
                      desktop_.reveal);
}

void MenuBar::showSearch(SearchScope scope) {
    if (ChatWindow* window = FocusedChat::window()) window->showSearch(scope);
}

void MenuBar::toggleDocumentViewer() {
    const ChatWindow* window = FocusedChat::window();
    if (DocumentPane* pane = window ? window->documentPane() : nullptr)
        pane->setHidden(!pane->isHidden());
    updateDocumentViewerTitle();
}

void MenuBar::updateDocumentViewerTitle() {
    const ChatWindow* window = FocusedChat::window();
    const DocumentPane* pane = window ? window->documentPane() : nullptr;
    documentViewer_->setText(pane && pane->isHidden() ? QStringLiteral("Show Document Viewer")
                                                      : QStringLiteral("Hide Document Viewer"));
}

}  // namespace folvane
