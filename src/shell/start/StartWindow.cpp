#include "shell/start/StartWindow.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include "conversation/AppCore.h"
#include "conversation/ChatLabel.h"
#include "conversation/ChatListViewModel.h"
#include "conversation/FileOpener.h"
#include "shell/app/AppState.h"
#include "shell/app/WindowManager.h"
#include "shell/start/ChatRowDelegate.h"
#include "shell/start/ShowInFileManager.h"
#include "shell/tour/StartWindowTour.h"
#include "store/AppPreferences.h"

namespace folvane {

namespace {

constexpr int idRole = Qt::UserRole;

}  // namespace

StartWindow::StartWindow(WindowManager& windows, QWidget* parent)
    : QMainWindow(parent),
      windows_(windows),
      filter_(new QLineEdit(this)),
      newChat_(new QPushButton(QStringLiteral("Start a new chat..."), this)),
      settings_(new QPushButton(QStringLiteral("Settings"), this)),
      list_(new QListWidget(this)),
      delegate_(new ChatRowDelegate(list_)),
      opening_(new QLabel(QStringLiteral("Opening..."), this)) {
    setWindowTitle(QStringLiteral("Welcome to Folvane"));
    setAccessibleName(QStringLiteral("Welcome to Folvane"));
    setAcceptDrops(true);
    resize(640, 520);

    auto* heading = new QLabel(QStringLiteral("Welcome to Folvane"), this);
    QFont headingFont = heading->font();
    headingFont.setPointSizeF(headingFont.pointSizeF() * 1.6);
    headingFont.setBold(true);
    heading->setFont(headingFont);
    heading->setAccessibleName(heading->text());

    filter_->setPlaceholderText(QStringLiteral("Filter..."));
    filter_->setAccessibleName(QStringLiteral("Filter..."));
    filter_->setClearButtonEnabled(true);
    // The line edit's own clear button has no name of its own.
    for (auto* action : filter_->findChildren<QAction*>()) {
        action->setText(QStringLiteral("Clear filter"));
        action->setToolTip(action->text());
    }
    newChat_->setAccessibleName(newChat_->text());
    newChat_->setToolTip(QStringLiteral("Choose PDF documents to chat with"));
    settings_->setAccessibleName(settings_->text());
    settings_->setIcon(QIcon::fromTheme(QStringLiteral("preferences-system")));
    settings_->setToolTip(QStringLiteral("Settings (Ctrl+,)"));

    list_->setAccessibleName(QStringLiteral("Chats"));
    list_->setItemDelegate(delegate_);
    list_->setEditTriggers(QAbstractItemView::EditKeyPressed);
    list_->setSelectionMode(QAbstractItemView::SingleSelection);
    list_->setContextMenuPolicy(Qt::CustomContextMenu);
    list_->setUniformItemSizes(true);

    opening_->setAccessibleName(opening_->text());
    opening_->setVisible(windows_.appState().openingFromBrowsers());

    auto* top = new QHBoxLayout;
    top->addWidget(filter_, 1);
    top->addWidget(newChat_);
    auto* headingRow = new QHBoxLayout;
    headingRow->addWidget(heading, 1);
    headingRow->addWidget(settings_, 0, Qt::AlignTop);
    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->addLayout(headingRow);
    layout->addLayout(top);
    layout->addWidget(list_, 1);
    layout->addWidget(opening_);
    setCentralWidget(central);
    setTabOrder(filter_, newChat_);
    setTabOrder(newChat_, list_);
    setTabOrder(list_, settings_);

    connect(filter_, &QLineEdit::textChanged, this, [this] { render(); });
    connect(newChat_, &QPushButton::clicked, this, &StartWindow::startNewChat);
    connect(settings_, &QPushButton::clicked, this, [this] { windows_.showSettings(); });
    connect(list_, &QListWidget::itemActivated, this, &StartWindow::openItem);
    connect(list_, &QListWidget::itemChanged, this, &StartWindow::renameItem);
    connect(delegate_, &QAbstractItemDelegate::closeEditor, this, &StartWindow::scheduleRender);
    connect(list_, &QListWidget::customContextMenuRequested, this, &StartWindow::showRowMenu);
    list_->installEventFilter(this);
    connect(&windows_.appState(), &AppState::changed, this,
            [this] { opening_->setVisible(windows_.appState().openingFromBrowsers()); });

    auto& chatList = windows_.core().chatList();
    listSubscription_ = chatList.subscribe([this] { scheduleRender(); });
    chatList.trigger(chat_list_input::Sync{});
    render();
    tour_ = new StartWindowTour(this, list_, newChat_, windows_);
}

StartWindow::~StartWindow() {
    // An open title editor commits when the list goes, after this object's
    // members have gone.
    list_->disconnect(this);
    delegate_->disconnect(this);
}

bool StartWindow::eventFilter(QObject* watched, QEvent* event) {
    // The Delete key on a row (not in its title editor) asks to delete it.
    if (watched == list_ && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->matches(QKeySequence::Delete) && !delegate_->isEditing()) {
        if (const int64_t id = currentId()) confirmDelete(id);
        return true;
    }
    // The menu key opens the menu of the selected row, where the row stands.
    if (watched == list_ && event->type() == QEvent::ContextMenu &&
        static_cast<QContextMenuEvent*>(event)->reason() == QContextMenuEvent::Keyboard) {
        if (auto* item = list_->currentItem()) showRowMenu(list_->visualItemRect(item).center());
        return true;
    }
    return QMainWindow::eventFilter(watched, event);
}

void StartWindow::scheduleRender() {
    if (renderPending_) return;
    renderPending_ = true;
    QTimer::singleShot(0, this, [this] {
        renderPending_ = false;
        render();
    });
}

void StartWindow::render() {
    subscribeToChats();
    // A rename in progress keeps its row; the list is redrawn once it ends.
    if (delegate_->isEditing()) return;

    const QString keyword = filter_->text().toLower();
    std::vector<Row> rows;
    for (const auto& chat : windows_.core().chatList().state().chats) {
        const auto& state = chat.state();
        const QString title = QString::fromStdString(state.conversation.title);
        if (!keyword.isEmpty() && !title.toLower().contains(keyword)) continue;
        rows.push_back({chat.id(), title, QString::fromStdString(chatRowDetail(state))});
    }
    if (rows == shown_) return;

    const int64_t selected = currentId();
    rendering_ = true;
    list_->clear();
    for (const Row& row : rows) {
        auto* item = new QListWidgetItem(row.title, list_);
        item->setData(idRole, QVariant::fromValue<qlonglong>(row.id));
        item->setData(ChatRowDelegate::detailRole, row.detail);
        item->setData(Qt::AccessibleTextRole, row.title);
        item->setData(Qt::AccessibleDescriptionRole, row.detail);
        item->setToolTip(row.detail);
        item->setFlags(item->flags() | Qt::ItemIsEditable);
        if (row.id == selected) list_->setCurrentItem(item);
    }
    rendering_ = false;
    shown_ = std::move(rows);
}

void StartWindow::subscribeToChats() {
    std::map<int64_t, Subscription> kept;
    for (const auto& chat : windows_.core().chatList().state().chats) {
        auto found = chatSubscriptions_.find(chat.id());
        if (found != chatSubscriptions_.end()) {
            kept.emplace(chat.id(), std::move(found->second));
        } else {
            auto ref = chat;
            kept.emplace(chat.id(), ref.subscribe([this] { scheduleRender(); }));
        }
    }
    chatSubscriptions_ = std::move(kept);
}

int64_t StartWindow::currentId() const {
    const QListWidgetItem* item = list_->currentItem();
    return item ? item->data(idRole).toLongLong() : 0;
}

void StartWindow::openItem(QListWidgetItem* item) {
    if (!item) return;
    const int64_t id = item->data(idRole).toLongLong();
    tour_->chatOpening();
    WindowManager& windows = windows_;
    if (windows.core().preferences().autoCloseWelcomeWindow()) close();
    windows.openChat(id);
}

void StartWindow::renameItem(QListWidgetItem* item) {
    if (rendering_ || !item) return;
    auto chat = windows_.core().chatList().find(item->data(idRole).toLongLong());
    if (!chat) return;
    const std::string title = item->text().trimmed().toStdString();
    if (title.empty() || title == chat->state().conversation.title) {
        shown_.clear();
        scheduleRender();
        return;
    }
    chat->trigger(chat_input::UpdateTitle{title});
    scheduleRender();
}

void StartWindow::showRowMenu(const QPoint& position) {
    QListWidgetItem* item = list_->itemAt(position);
    if (!item) item = list_->currentItem();
    if (!item) return;
    list_->setCurrentItem(item);
    const int64_t id = item->data(idRole).toLongLong();
    auto chat = windows_.core().chatList().find(id);
    if (!chat) return;
    const auto& documents = chat->state().allDocuments;
    const QString fileUrl =
        documents.empty() ? QString() : QString::fromStdString(documents.front().fileUrl);

    QMenu menu(this);
    QAction* show = menu.addAction(QStringLiteral("Show in File Manager"));
    show->setEnabled(!fileUrl.isEmpty());
    QAction* remove = menu.addAction(QStringLiteral("Delete..."));
    QPoint where = list_->viewport()->mapToGlobal(position);
    if (!list_->itemAt(position)) {
        where = list_->viewport()->mapToGlobal(list_->visualItemRect(item).center());
    }
    QAction* chosen = menu.exec(where);
    if (chosen == show) {
        showInFileManager(fileUrl);
    } else if (chosen == remove) {
        confirmDelete(id);
    }
}

void StartWindow::confirmDelete(int64_t conversationId) {
    QMessageBox box(QMessageBox::Warning, QStringLiteral("Delete"),
                    QStringLiteral("Are you sure you want to delete this conversation?"),
                    QMessageBox::NoButton, this);
    QPushButton* remove = box.addButton(QStringLiteral("Delete"), QMessageBox::DestructiveRole);
    QPushButton* cancel = box.addButton(QStringLiteral("Cancel"), QMessageBox::RejectRole);
    remove->setAccessibleName(remove->text());
    cancel->setAccessibleName(cancel->text());
    box.setDefaultButton(cancel);
    box.exec();
    if (box.clickedButton() != remove) return;
    auto& chatList = windows_.core().chatList();
    chatList.trigger(chat_list_input::RemoveConversation{conversationId});
    if (const auto& alert = chatList.state().alert) {
        QMessageBox::critical(this, QStringLiteral("Failed"), QString::fromStdString(*alert));
    }
}

void StartWindow::startNewChat() {
    const QStringList paths =
        QFileDialog::getOpenFileNames(this, QStringLiteral("Start a new chat..."), QString(),
                                      QStringLiteral("PDF documents (*.pdf)"));
    if (!paths.isEmpty()) windows_.openFiles(paths, this);
}

void StartWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (!event->mimeData()->hasUrls()) return;
    for (const QUrl& url : event->mimeData()->urls()) {
        if (url.isLocalFile()) {
            event->acceptProposedAction();
            return;
        }
    }
}

void StartWindow::dropEvent(QDropEvent* event) {
    event->acceptProposedAction();
    dropUrls(event->mimeData()->urls());
}

void StartWindow::dropUrls(const QList<QUrl>& urls) {
    std::vector<std::string> paths;
    for (const QUrl& url : urls) {
        if (url.isLocalFile()) paths.push_back(url.toLocalFile().toStdString());
    }
    const auto accepted = FileOpener::acceptedDrops(paths);
    if (accepted.empty()) return;
    QStringList files;
    for (const auto& path : accepted) files << QString::fromStdString(path);
    // After the drop has ended: the "Failed" alert must not run inside it.
    QTimer::singleShot(0, this, [this, files] { windows_.openFiles(files, this); });
}

}  // namespace folvane
