#include "shell/chat/ChatWindow.h"

#include <QCloseEvent>
#include <QDialog>
#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QSplitter>
#include <QStackedWidget>
#include <QTimer>
#include <QToolBar>
#include <QVBoxLayout>

#include "conversation/AppCore.h"
#include "conversation/CustomModelListViewModel.h"
#include "platform/FileUrl.h"
#include "providers/ModelNames.h"
#include "shell/app/DrawnIcons.h"
#include "shell/app/WindowManager.h"
#include "shell/capture/DesktopScreenCapture.h"
#include "shell/chat/ChatConfigPanel.h"
#include "shell/chat/ChatSearchBar.h"
#include "shell/chat/ComposeBox.h"
#include "shell/chat/DocumentListView.h"
#include "shell/chat/EditLastMessageForm.h"
#include "shell/chat/IndexingStatusView.h"
#include "shell/chat/OpenAIKeyModalView.h"
#include "shell/chat/TranscriptView.h"
#include "shell/tour/ChatWindowTour.h"
#include "shell/viewer/DocumentPane.h"
#include "shell/viewer/DocumentView.h"
#include "shell/viewer/FindBar.h"
#include "speech/ScreenCaptureGate.h"
#include "speech/SpeechServices.h"
#include "store/AppPreferences.h"

namespace folvane {
namespace {

QWidget* makeFailurePage(QWidget* parent, const std::function<void()>& reload) {
    auto* page = new QWidget(parent);
    auto* layout = new QVBoxLayout(page);
    layout->addStretch();
    auto* text =
        new QLabel(QStringLiteral("Failed to load the conversation. Please try again."), page);
    text->setAlignment(Qt::AlignCenter);
    layout->addWidget(text);
    auto* button = new QPushButton(QStringLiteral("Reload"), page);
    button->setAccessibleName(button->text());
    QObject::connect(button, &QPushButton::clicked, page, reload);
    layout->addWidget(button, 0, Qt::AlignCenter);
    layout->addStretch();
    return page;
}

}  // namespace

ChatWindow::ChatWindow(int64_t conversationId, WindowManager& windows, QWidget* parent)
    : QMainWindow(parent),
      conversationId_(conversationId),
      windows_(windows),
      screenCapture_(std::make_unique<DesktopScreenCapture>()) {
    auto& preferences = windows_.core().preferences();
    const auto size = preferences.defaultChatWindowSize();
    // The stored size, kept inside the screen with room for the frame.
    QSize wanted(int(size.width), int(size.height));
    if (const auto* screen = QGuiApplication::primaryScreen())
        wanted = wanted.boundedTo(screen->availableSize() * 0.9);
    resize(wanted);
    setWindowTitle(QStringLiteral("Chat"));
    pages_ = new QStackedWidget(this);
    pages_->addWidget(makeFailurePage(pages_, [this] { reload(); }));
    setCentralWidget(pages_);
    auto* closeShortcut = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_W), this);
    connect(closeShortcut, &QShortcut::activated, this, &QWidget::close);
    preferencesSubscription_ = preferences.subscribe([this](std::string_view key) {
        if (key == "alwaysOnTop") applyAlwaysOnTop();
    });
    applyAlwaysOnTop();
    chat_ = windows_.core().chatList().find(conversationId_);
    if (chat_) build();
}

ChatWindow::~ChatWindow() {
    if (chat_) chat_->trigger(chat_input::UnloadIndex{});
}

void ChatWindow::closeEvent(QCloseEvent* event) {
    if (chat_) chat_->trigger(chat_input::UnloadIndex{});
    QMainWindow::closeEvent(event);
}

void ChatWindow::reload() {
    auto& list = windows_.core().chatList();
    list.trigger(chat_list_input::Sync{});
    if (chat_) return;
    chat_ = list.find(conversationId_);
    if (chat_) build();
}

void ChatWindow::build() {
    auto& core = windows_.core();
    auto& preferences = core.preferences();
    auto* page = new QWidget(pages_);
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    header_ = new QLabel(page);
    header_->setTextFormat(Qt::RichText);
    header_->setContentsMargins(10, 6, 10, 6);
    layout->addWidget(header_);

    auto* splitter = new QSplitter(page);
    documents_ = new DocumentListView(*chat_, splitter);
    splitter->addWidget(documents_);

    auto* column = new QWidget(splitter);
    auto* columnLayout = new QVBoxLayout(column);
    columnLayout->setContentsMargins(0, 0, 0, 0);
    columnLayout->addWidget(new IndexingStatusView(*chat_, column));
    search_ = new ChatSearchBar(*chat_, column);
    columnLayout->addWidget(search_);
    auto* transcript = new TranscriptView(*chat_, preferences, column, &windows_.transcriptPages());
    columnLayout->addWidget(transcript, 1);
    compose_ = new ComposeBox(*chat_, preferences, column);
    compose_->setAudioDevices(core.speech() ? core.speech()->devices : nullptr);
    connect(compose_, &ComposeBox::apiKeyNeeded, this, &ChatWindow::askForKey);
    compose_->setPromptLibrary(core.promptList());
    columnLayout->addWidget(compose_);
    connect(search_, &ChatSearchBar::closed, this, [this] { compose_->textEdit()->setFocus(); });
    new EditLastMessageForm(*chat_, this);
    splitter->addWidget(column);

    viewer_ = new DocumentPane(*chat_, splitter);
    splitter->addWidget(viewer_);
    connect(documents_, &DocumentListView::documentChosen, viewer_, &DocumentPane::showDocument);
    splitter->setStretchFactor(0, 0);
    splitter->setStretchFactor(1, 3);
    splitter->setStretchFactor(2, 2);
    splitter->setSizes({220, 480, 420});
    layout->addWidget(splitter, 1);
    pages_->addWidget(page);
    pages_->setCurrentWidget(page);

    auto* toolbar = addToolBar(QStringLiteral("Chat"));
    toolbar->setMovable(false);
    auto* showDocuments = toolbar->addAction(QStringLiteral("Documents"));
    showDocuments->setCheckable(true);
    showDocuments->setChecked(true);
    showDocuments->setToolTip(QStringLiteral("Show or hide the documents of this chat"));
    connect(showDocuments, &QAction::toggled, documents_, &QWidget::setVisible);
    auto* settings = toolbar->addAction(QStringLiteral("Chat Settings"));
    settings->setToolTip(QStringLiteral("Provider, model and answers of this chat"));
    connect(settings, &QAction::triggered, this, [this] {
        auto* dialog = configDialog();
        dialog->show();
        dialog->raise();
        dialog->activateWindow();
    });
    auto* screenshot = toolbar->addAction(
        QIcon::fromTheme(
            QStringLiteral("applets-screenshooter"),
            QIcon::fromTheme(QStringLiteral("camera-photo"), drawn_icons::viewfinder(*this))),
        QStringLiteral("Ask about a screenshot"));
    screenshot->setObjectName(QStringLiteral("askAboutScreenshot"));
    screenshot->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S));
    screenshot->setToolTip(QStringLiteral("Ask about a screenshot (%1)")
                               .arg(screenshot->shortcut().toString(QKeySequence::NativeText)));
    if (auto* button = toolbar->widgetForAction(screenshot))
        button->setAccessibleName(screenshot->text());
    connect(screenshot, &QAction::triggered, this, &ChatWindow::askAboutScreenshot);

    // Toolbar buttons take no focus by default; here they are reached by Tab.
    for (auto* action : toolbar->actions()) {
        if (auto* button = toolbar->widgetForAction(action)) button->setFocusPolicy(Qt::TabFocus);
    }

    new ChatWindowTour(this, *chat_, preferences,
                       {transcript, compose_, toolbar->widgetForAction(settings)},
                       {[this] { askForKey(); }, [settings] { settings->trigger(); }});

    customModelId_ = chat_->state().conversation.customModelId;
    subscription_ = chat_->subscribe([this] {
        updateTitle();
        loadIndexForNewModel();
    });
    chat_->trigger(chat_input::Sync{});
    chat_->trigger(chat_input::LoadIndex{});
    updateTitle();
    compose_->textEdit()->setFocus();
}

void ChatWindow::showSearch(SearchScope scope) {
    if (!chat_) return;
    if (scope == SearchScope::chat) return search_->open();
    viewer_->show();
    if (viewer_->view()) viewer_->findBar()->open();
}

void ChatWindow::loadIndexForNewModel() {
    // A chat without an OpenAI key cannot read its documents until it is given
    // a model of its own; choosing one loads them, as saving a key does.
    const int64_t id = chat_->state().conversation.customModelId;
    if (id == customModelId_) return;
    customModelId_ = id;
    QTimer::singleShot(0, this, [this] { chat_->trigger(chat_input::LoadIndex{}); });
}

QDialog* ChatWindow::configDialog() {
    if (config_ || !chat_) return config_;
    customModels_ = windows_.core().makeCustomModelList();
    config_ = new QDialog(this);
    config_->setWindowTitle(QStringLiteral("Chat Settings"));
    auto* layout = new QVBoxLayout(config_);
    layout->addWidget(
        new ChatConfigPanel(*chat_, *customModels_, windows_.core().preferences(), config_));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, config_);
    connect(buttons, &QDialogButtonBox::rejected, config_, &QDialog::close);
    layout->addWidget(buttons);
    return config_;
}

QString ChatWindow::subtitle() const {
    if (!chat_) return {};
    const auto& state = chat_->state();
    const std::string label = state.customModel
                                  ? state.customModel->name
                                  : modelDisplayName(state.conversation.model, providers::openAI);
    QString text = QString::fromStdString(label);
    if (state.conversation.cost > 0)
        text += QStringLiteral(" · ~$") + QString::asprintf("%.6f", state.conversation.cost);
    return text;
}

void ChatWindow::updateTitle() {
    const QString title = QString::fromStdString(chat_->state().conversation.title);
    const QString sub = subtitle();
    setWindowTitle(title + QStringLiteral(" — ") + sub);
    header_->setText(QStringLiteral("<b>%1</b><br><span style=\"color: gray\">%2</span>")
                         .arg(title.toHtmlEscaped(), sub.toHtmlEscaped()));
    header_->setAccessibleName(title + QStringLiteral(", ") + sub);
}

void ChatWindow::applyAlwaysOnTop() {
    const bool onTop = windows_.core().preferences().alwaysOnTop();
    if (windowFlags().testFlag(Qt::WindowStaysOnTopHint) == onTop) return;
    const bool visible = isVisible();
    setWindowFlag(Qt::WindowStaysOnTopHint, onTop);
    if (visible) show();
}

void ChatWindow::setScreenCapture(std::unique_ptr<ScreenCapture> capture) {
    screenCapture_ = std::move(capture);
}

void ChatWindow::askAboutScreenshot() {
    if (!chat_) return;
    const auto& state = chat_->state();
    std::optional<std::string_view> provider;
    if (state.customModel) provider = state.customModel->provider;
    if (const auto alert =
            screenCaptureAlert(provider, windows_.core().preferences().openAIKey().empty())) {
        auto* box = new QMessageBox(QMessageBox::Critical, QString::fromStdString(alert->title),
                                    QString::fromStdString(alert->text), QMessageBox::Ok, this);
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->setWindowModality(Qt::WindowModal);
        box->open();
        return;
    }
    const auto file =
        screenshotFilePath(windows_.core().paths().dataDirectory, std::chrono::system_clock::now());
    // Waits here while the user selects; false when they cancelled.
    if (!screenCapture_->captureScreenshot(file)) return;
    chat_->trigger(chat_input::AddImages{{fileUrlFromPath(file.string())}});
    activateWindow();
    compose_->textEdit()->setFocus();
}

void ChatWindow::askForKey() {
    if (findChild<OpenAIKeyModalView*>()) return;
    auto* sheet = new OpenAIKeyModalView(
        windows_.core().makeProviderForm(ProviderForm::openAIKeyModal), this);
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    // Without a key the documents were not read: now they can be.
    connect(sheet, &QDialog::accepted, this, [this] { chat_->trigger(chat_input::LoadIndex{}); });
    sheet->open();
}

}  // namespace folvane
