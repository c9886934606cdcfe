#include "shell/chat/DocumentListView.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QToolButton>
#include <QVBoxLayout>
#include <filesystem>

#include "SimilaritySearchKit/DistilbertEmbeddings.h"
#include "SimilaritySearchKit/EmbeddingModelType.h"
#include "platform/AppPaths.h"
#include "platform/FileUrl.h"

namespace folvane {
namespace {

QString pathOf(const DocumentInfo& document) {
    const std::string& url =
        document.fileUrl.empty() ? document.bookmark.filePath : document.fileUrl;
    if (auto path = pathFromFileUrl(url)) return QString::fromStdString(*path);
    return QString::fromStdString(url);
}

QLabel* wrappedLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    return label;
}

}  // namespace

DocumentListView::DocumentListView(ChatDetailRef chat, QWidget* parent)
    : QWidget(parent), chat_(std::move(chat)) {
    locateFile_ = [](QWidget* owner, const QString& oldPath) {
        return QFileDialog::getOpenFileName(owner, QStringLiteral("Locate..."),
                                            QFileInfo(oldPath).absolutePath(),
                                            QStringLiteral("PDF documents (*.pdf)"));
    };
    localModelCheck_ = [] {
        const std::filesystem::path models =
            std::filesystem::path(AppPaths::standard().dataDirectory) / "models";
        std::error_code error;
        return std::filesystem::is_regular_file(models / DistilbertEmbeddings::weightsFileName,
                                                error);
    };
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* heading = new QLabel(QStringLiteral("Documents"), this);
    heading->setStyleSheet(QStringLiteral("font-weight: bold; padding: 6px"));
    layout->addWidget(heading);
    auto* scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    auto* content = new QWidget(scroll);
    rows_ = new QVBoxLayout(content);
    rows_->addStretch();
    scroll->setWidget(content);
    layout->addWidget(scroll);
    setAccessibleName(QStringLiteral("Documents"));
    subscription_ = chat_.subscribe([this] { render(); });
    render();
}

QString DocumentListView::indexingRate(const ChatDetailState& state) {
    const bool working = state.loadingState == LoadingState::indexing ||
                         state.loadingState == LoadingState::indexingExtra;
    if (!working) {
        indexingClock_.invalidate();
        return {};
    }
    // Each document starts the measure again: the page count is the current
    // document's.
    if (!indexingClock_.isValid() || pagesAtStart_ != state.totalPageNumber) {
        indexingClock_.start();
        progressAtStart_ = state.indexingProgress;
        pagesAtStart_ = state.totalPageNumber;
        return {};
    }
    const double seconds = indexingClock_.elapsed() / 1000.0;
    const double pages =
        (state.indexingProgress - progressAtStart_) / 100.0 * state.totalPageNumber;
    if (seconds < 0.5 || pages <= 0) return {};
    return QString::asprintf("%.1f pages per second", pages / seconds);
}

void DocumentListView::render() {
    const auto& state = chat_.state();
    Snapshot snapshot{state.allDocuments, state.conversation.bookmarkId, state.localModelInstalled};
    if (!shown_ || !(*shown_ == snapshot)) {
        shown_ = snapshot;
        progressRows_.clear();
        while (rows_->count() > 1) {
            // Later: the click that changed the list may still be on its way out.
            auto* item = rows_->takeAt(0);
            item->widget()->hide();
            item->widget()->deleteLater();
            delete item;
        }
        int index = 0;
        for (const auto& document : snapshot.documents)
            rows_->insertWidget(index++, makeRow(document, snapshot));
    }
    showProgress(state);
}

void DocumentListView::showProgress(const ChatDetailState& state) {
    const QString rate = indexingRate(state);
    for (auto [bar, line] : progressRows_) {
        bar->setValue(state.indexingProgress);
        QString text = QStringLiteral("Indexing... %1%").arg(state.indexingProgress);
        if (!rate.isEmpty()) text += QStringLiteral(" · ") + rate;
        line->setText(text);
    }
}

QWidget* DocumentListView::makeRow(const DocumentInfo& document, const Snapshot& snapshot) {
    auto* row = new QWidget(this);
    row->setProperty("bookmarkId", QVariant::fromValue<qlonglong>(document.bookmark.id));
    row->installEventFilter(this);
    auto* layout = new QVBoxLayout(row);
    layout->setContentsMargins(6, 4, 6, 4);
    const QString path = pathOf(document);
    const QString name = QFileInfo(path).fileName();

    auto* head = new QHBoxLayout;
    auto* title = new QLabel(name, row);
    title->setToolTip(path);
    title->setTextFormat(Qt::PlainText);
    head->addWidget(title, 1);
    auto* actions = new QToolButton(row);
    actions->setText(QStringLiteral("..."));
    actions->setToolTip(QStringLiteral("Actions for ") + name);
    actions->setAccessibleName(actions->toolTip());
    actions->setPopupMode(QToolButton::InstantPopup);
    actions->setFocusPolicy(Qt::StrongFocus);
    auto* menu = new QMenu(actions);
    const int64_t id = document.bookmark.id;
    connect(menu->addAction(QStringLiteral("Reprocess")), &QAction::triggered, this, [this, id] {
        chat_.trigger(chat_input::RebuildIndex{id, false});
    });
    connect(menu->addAction(QStringLiteral("Reprocess with OCR (forced)")), &QAction::triggered,
            this, [this, id] {
                chat_.trigger(chat_input::RebuildIndex{id, true});
            });
    // Offered once the weights are downloaded, for a document whose rows another
    // model made (the lexical one, or a remote one).
    if (!document.embeddingModel.empty() &&
        document.embeddingModel != rawValue(EmbeddingModelType::distilbert)) {
        auto* reembed = menu->addAction(QStringLiteral("Re-embed with Local Model"));
        auto installed = [this] { return chat_.state().localModelInstalled || localModelCheck_(); };
        reembed->setVisible(snapshot.localModelInstalled || localModelCheck_());
        connect(menu, &QMenu::aboutToShow, reembed,
                [reembed, installed] { reembed->setVisible(installed()); });
        connect(reembed, &QAction::triggered, this,
                [this, id] { chat_.trigger(chat_input::ReembedWithLocalModel{id}); });
    }
    // The chat's first document is the chat itself: it is not taken out.
    auto* remove = menu->addAction(QStringLiteral("Remove from Chat"));
    remove->setEnabled(id != snapshot.mainBookmarkId);
    connect(remove, &QAction::triggered, this,
            [this, id] { chat_.trigger(chat_input::RemoveFromChat{id}); });
    actions->setMenu(menu);
    row->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(row, &QWidget::customContextMenuRequested, menu,
            [row, menu](const QPoint& at) { menu->popup(row->mapToGlobal(at)); });
    head->addWidget(actions);
    layout->addLayout(head);

    if (document.isStale) {
        layout->addWidget(wrappedLabel(QString::fromStdString(document.errorMessage), row));
        auto* locateButton = new QPushButton(QStringLiteral("Locate..."), row);
        locateButton->setAccessibleName(QStringLiteral("Locate..."));
        connect(locateButton, &QPushButton::clicked, this, [this, document] { locate(document); });
        layout->addWidget(locateButton, 0, Qt::AlignLeft);
    }
    switch (document.indexingState) {
        case IndexingState::indexing: {
            auto* bar = new QProgressBar(row);
            bar->setRange(0, 100);
            bar->setAccessibleName(QStringLiteral("Indexing ") + name);
            layout->addWidget(bar);
            auto* line = wrappedLabel(QString(), row);
            layout->addWidget(line);
            progressRows_.emplace_back(bar, line);
            break;
        }
        case IndexingState::failed: {
            const auto& state = chat_.state();
            QString reason = QString::fromStdString(document.errorMessage);
            if (reason.isEmpty() && state.loadingFailReason)
                reason = QString::fromStdString(*state.loadingFailReason);
            if (reason.isEmpty()) reason = QStringLiteral("Failed to process this document.");
            auto* failed = wrappedLabel(reason, row);
            failed->setStyleSheet(QStringLiteral("color: #c0392b"));
            layout->addWidget(failed);
            break;
        }
        case IndexingState::none:
        case IndexingState::indexed:
            if (!document.isStale && !document.errorMessage.empty())
                layout->addWidget(wrappedLabel(QString::fromStdString(document.errorMessage), row));
            if (!document.warning.empty()) {
                auto* warning = wrappedLabel(QString::fromStdString(document.warning), row);
                warning->setStyleSheet(QStringLiteral("color: #b9770e"));
                layout->addWidget(warning);
            }
            break;
    }
    return row;
}

bool DocumentListView::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::MouseButtonRelease) {
        const QVariant id = watched->property("bookmarkId");
        if (id.isValid()) emit documentChosen(id.toLongLong());
    }
    return QWidget::eventFilter(watched, event);
}

void DocumentListView::locate(const DocumentInfo& document) {
    const QString chosen = locateFile_(this, pathOf(document));
    if (chosen.isEmpty()) return;
    chat_.trigger(
        chat_input::UpdateBookmark{document.bookmark.id, fileUrlFromPath(chosen.toStdString())});
}

}  // namespace folvane
