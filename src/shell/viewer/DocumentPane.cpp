#include "shell/viewer/DocumentPane.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QShortcut>
#include <QStackedWidget>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>

#include "conversation/PageNavigator.h"
#include "documents/PdfViewerDocument.h"
#include "platform/FileUrl.h"
#include "platform/Log.h"
#include "shell/viewer/DocumentView.h"
#include "shell/viewer/FindBar.h"
#include "shell/viewer/GoToPageDialog.h"

namespace folvane {
namespace {

QLabel* centred(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    return label;
}

QToolButton* toolButton(const QString& text, const QString& help, QWidget* parent) {
    auto* button = new QToolButton(parent);
    button->setText(text);
    button->setToolTip(help);
    button->setAccessibleName(help);
    button->setFocusPolicy(Qt::TabFocus);
    button->setAutoRaise(true);
    return button;
}

QString pathOf(const DocumentInfo& document) {
    const std::string& url =
        document.fileUrl.empty() ? document.bookmark.filePath : document.fileUrl;
    if (auto path = pathFromFileUrl(url)) return QString::fromStdString(*path);
    return QString::fromStdString(url);
}

}  // namespace

DocumentPane::DocumentPane(ChatDetailRef chat, QWidget* parent)
    : QWidget(parent),
      chat_(std::move(chat)),
      navigator_(chat_.state().pageNavigator),
      stack_(new QStackedWidget(this)) {
    setAccessibleName(QStringLiteral("Document"));
    locateFile_ = [](QWidget* owner, const QString& oldPath) {
        return QFileDialog::getOpenFileName(owner, QStringLiteral("Locate..."),
                                            QFileInfo(oldPath).absolutePath(),
                                            QStringLiteral("PDF documents (*.pdf)"));
    };
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(stack_);

    empty_ = centred(QStringLiteral("No document selected"), stack_);
    stack_->addWidget(empty_);

    failure_ = new QWidget(stack_);
    auto* failureLayout = new QVBoxLayout(failure_);
    failureLayout->addStretch();
    failureLayout->addWidget(centred(QStringLiteral("Failed to load the document."), failure_));
    auto* hint = centred(QStringLiteral("It's likely that your document has been moved or "
                                        "deleted.\nClick the button below to locate it."),
                         failure_);
    hint->setStyleSheet(QStringLiteral("color: gray"));
    failureLayout->addWidget(hint);
    auto* locateButton = new QPushButton(QStringLiteral("Locate..."), failure_);
    locateButton->setAccessibleName(locateButton->text());
    connect(locateButton, &QPushButton::clicked, this, &DocumentPane::locate);
    failureLayout->addWidget(locateButton, 0, Qt::AlignCenter);
    failureLayout->addStretch();
    stack_->addWidget(failure_);

    viewer_ = new QWidget(stack_);
    auto* viewerLayout = new QVBoxLayout(viewer_);
    viewerLayout->setContentsMargins(0, 0, 0, 0);
    viewerLayout->setSpacing(0);
    auto* bar = new QHBoxLayout;
    bar->setContentsMargins(4, 2, 4, 2);
    auto* previous = toolButton(QStringLiteral("‹"), QStringLiteral("Previous Page"), viewer_);
    auto* next = toolButton(QStringLiteral("›"), QStringLiteral("Next Page"), viewer_);
    status_ = new QLabel(viewer_);
    auto* zoomOut = toolButton(QStringLiteral("−"), QStringLiteral("Zoom Out"), viewer_);
    auto* zoomIn = toolButton(QStringLiteral("+"), QStringLiteral("Zoom In"), viewer_);
    auto* find = toolButton(QStringLiteral("Find"), QStringLiteral("Find in PDF..."), viewer_);
    for (QWidget* widget : std::initializer_list<QWidget*>{previous, next, status_})
        bar->addWidget(widget);
    bar->addStretch();
    for (QWidget* widget : std::initializer_list<QWidget*>{zoomOut, zoomIn, find})
        bar->addWidget(widget);
    viewerLayout->addLayout(bar);
    findBar_ = new FindBar(viewer_);
    viewerLayout->addWidget(findBar_);
    stack_->addWidget(viewer_);

    connect(previous, &QToolButton::clicked, this,
            [this] { chat_.trigger(chat_input::GoToPreviousPage{}); });
    connect(next, &QToolButton::clicked, this,
            [this] { chat_.trigger(chat_input::GoToNextPage{}); });
    connect(zoomOut, &QToolButton::clicked, this, [this] { navigator_->zoomOut.notify(); });
    connect(zoomIn, &QToolButton::clicked, this, [this] { navigator_->zoomIn.notify(); });
    connect(find, &QToolButton::clicked, findBar_, &FindBar::open);
    connect(findBar_, &FindBar::findRequested, this, [this](const QString& keyword) {
        chat_.trigger(chat_input::Find{keyword.toStdString(), SearchScope::pdf});
    });
    connect(findBar_, &FindBar::previousRequested, this,
            [this] { chat_.trigger(chat_input::FindPrevious{}); });
    connect(findBar_, &FindBar::closed, this, [this] {
        if (view_) view_->setFocus();
    });
    addShortcuts();

    navigator_->setGoToReference([pane = QPointer<DocumentPane>(this)](const Reference& reference) {
        if (pane) pane->goToReference(reference);
    });
    subscription_ = chat_.subscribe([this] { render(); });
    render();
}

DocumentPane::~DocumentPane() {
    navigator_->setGoToReference({});
}

void DocumentPane::addShortcuts() {
    // The keys of the Find and Go menus are the menu bar's. History by the
    // usual keys while the viewer has the focus.
    auto add = [this](QKeySequence keys, auto action) {
        auto* shortcut = new QShortcut(keys, this);
        shortcut->setContext(Qt::WidgetWithChildrenShortcut);
        connect(shortcut, &QShortcut::activated, this, action);
    };
    add(QKeySequence(Qt::ALT | Qt::Key_Left), [this] { chat_.trigger(chat_input::GoBack{}); });
    add(QKeySequence(Qt::ALT | Qt::Key_Right), [this] { chat_.trigger(chat_input::GoForward{}); });
}

DocumentPane::Zoom DocumentPane::zoomOf(const QKeyEvent& event) {
    const auto modifiers = event.modifiers() & ~Qt::KeypadModifier;
    if (!(modifiers & Qt::ControlModifier) || (modifiers & (Qt::AltModifier | Qt::MetaModifier)))
        return Zoom::none;
    // Ctrl and "+" may come with Shift, as the key is typed on most layouts.
    switch (event.key()) {
        case Qt::Key_Plus:
        case Qt::Key_Equal:
            return Zoom::in;
        case Qt::Key_Minus:
            return Zoom::out;
        case Qt::Key_0:
            return modifiers == Qt::ControlModifier ? Zoom::fit : Zoom::none;
        default:
            return Zoom::none;
    }
}

bool DocumentPane::event(QEvent* event) {
    // The window's font-size keys zoom the pages while the focus is in the
    // viewer: claiming them here keeps the menu bar's shortcuts from firing.
    if (event->type() == QEvent::ShortcutOverride &&
        zoomOf(*static_cast<QKeyEvent*>(event)) != Zoom::none) {
        event->accept();
        return true;
    }
    return QWidget::event(event);
}

void DocumentPane::keyPressEvent(QKeyEvent* event) {
    switch (zoomOf(*event)) {
        case Zoom::in:
            navigator_->zoomIn.notify();
            break;
        case Zoom::out:
            navigator_->zoomOut.notify();
            break;
        case Zoom::fit:
            if (view_) view_->fitToWidth();
            break;
        case Zoom::none:
            return QWidget::keyPressEvent(event);
    }
    event->accept();
}

void DocumentPane::render() {
    const auto& state = chat_.state();
    const auto& documents = state.allDocuments;
    auto byId = [&](int64_t id) {
        return std::find_if(documents.begin(), documents.end(),
                            [id](const DocumentInfo& d) { return d.bookmark.id == id; });
    };
    if (!shown_ || byId(*shown_) == documents.end()) {
        shown_.reset();
        if (byId(state.conversation.bookmarkId) != documents.end())
            shown_ = state.conversation.bookmarkId;
        else if (!documents.empty())
            shown_ = documents.front().bookmark.id;
    }
    if (!shown_) {
        opened_.reset();
        delete view_;
        view_ = nullptr;
        stack_->setCurrentWidget(empty_);
    } else if (const DocumentInfo& document = *byId(*shown_); document != opened_) {
        open(document);
    }

    if (state.shouldShowGoToPageForm && !goTo_) {
        showGoToForm();
    } else if (!state.shouldShowGoToPageForm && goTo_) {
        goTo_->close();
    }
}

void DocumentPane::showDocument(int64_t bookmarkId) {
    if (shown_ == bookmarkId) return;
    shown_ = bookmarkId;
    opened_.reset();
    render();
}

void DocumentPane::open(const DocumentInfo& document) {
    opened_ = document;
    delete view_;
    view_ = nullptr;
    const auto path = pathFromFileUrl(document.fileUrl);
    log("load PDFView for url " + document.fileUrl);
    if (document.isStale || !path) return showFailure();
    std::shared_ptr<PdfViewerDocument> pdf;
    try {
        pdf = PdfViewerDocument::open(*path);
    } catch (const std::exception& error) {
        log(std::string("viewer: ") + error.what());
        return showFailure();
    }
    view_ = new DocumentView(std::move(pdf), navigator_, viewer_);
    static_cast<QVBoxLayout*>(viewer_->layout())->addWidget(view_, 1);
    connect(view_, &DocumentView::currentPageChanged, this, &DocumentPane::updateStatus);
    connect(view_, &DocumentView::useAsContext, this, [this](const QString& text) {
        chat_.trigger(chat_input::UseContentAsMessageContext{text.toStdString()});
    });
    stack_->setCurrentWidget(viewer_);
    updateStatus();
}

void DocumentPane::showFailure() {
    stack_->setCurrentWidget(failure_);
}

void DocumentPane::updateStatus() {
    status_->setText(view_ ? view_->pageStatus() : QString());
}

void DocumentPane::locate() {
    if (!opened_) return;
    const QString chosen = locateFile_(this, pathOf(*opened_));
    if (chosen.isEmpty()) return;
    chat_.trigger(
        chat_input::UpdateBookmark{opened_->bookmark.id, fileUrlFromPath(chosen.toStdString())});
}

void DocumentPane::showGoToForm() {
    goTo_ = new GoToPageDialog(this);
    goTo_->setAttribute(Qt::WA_DeleteOnClose);
    connect(goTo_, &GoToPageDialog::pageChosen, this,
            [this](int page) { chat_.trigger(chat_input::GoToPage{page}); });
    connect(goTo_, &QDialog::finished, this, [this] {
        goTo_ = nullptr;
        chat_.trigger(chat_input::HideGoToForm{});
    });
    goTo_->open();
}

void DocumentPane::goToReference(const Reference& reference) {
    if (!reference.page) return;
    chat_.trigger(chat_input::HighlightContentForReference{reference});
    const int page = *reference.page;
    if (shown_ == reference.bookmarkId && view_) {
        navigator_->goToPage.notify(page, chat_.state().highlightedText);
        return;
    }
    showDocument(reference.bookmarkId);
    QTimer::singleShot(switchDelayMs, this, [this, page] {
        navigator_->goToPage.notify(page, chat_.state().highlightedText);
    });
}

}  // namespace folvane
