#include <QAction>
#include <QDir>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QToolButton>
#include <QtTest>

#include "shell/chat/DocumentListView.h"
#include "shell/chat/IndexingStatusView.h"
#include "support/RecordingChat.h"

using namespace folvane;

namespace {

DocumentInfo document(int64_t id, const std::string& path, IndexingState state) {
    DocumentInfo info;
    info.bookmark.id = id;
    info.bookmark.filePath = "file://" + path;
    info.fileUrl = info.bookmark.filePath;
    info.indexingState = state;
    return info;
}

// The action of the row's menu for this file with this text.
QAction* action(DocumentListView& view, const QString& file, const QString& text) {
    for (auto* button : view.findChildren<QToolButton*>()) {
        if (button->isHidden() || button->accessibleName() != "Actions for " + file) continue;
        for (auto* candidate : button->menu()->actions())
            if (candidate->text() == text && candidate->isVisible()) return candidate;
    }
    return nullptr;
}

bool showsText(QWidget& view, const QString& text) {
    for (auto* label : view.findChildren<QLabel*>())
        if (!label->isHidden() && label->text().contains(text)) return true;
    return false;
}

}  // namespace

class DocumentListViewTest : public QObject {
    Q_OBJECT
  private slots:
    void eachDocumentsActionsSendTheirInputs() {
        test::RecordingChatRef chat;
        chat.chat->change([](ChatDetailState& s) {
            s.conversation.bookmarkId = 1;
            s.allDocuments = {document(1, "/docs/main.pdf", IndexingState::indexed),
                              document(2, "/docs/extra.pdf", IndexingState::indexed)};
        });
        DocumentListView view(chat.ref);
        QVERIFY(showsText(view, "main.pdf"));
        QVERIFY(showsText(view, "extra.pdf"));

        action(view, "extra.pdf", "Reprocess")->trigger();
        action(view, "extra.pdf", "Reprocess with OCR (forced)")->trigger();
        action(view, "extra.pdf", "Remove from Chat")->trigger();
        QVERIFY(!action(view, "main.pdf", "Remove from Chat")->isEnabled());

        const auto rebuilds = chat.chat->sent<chat_input::RebuildIndex>();
        QCOMPARE(rebuilds.size(), size_t(2));
        QCOMPARE(rebuilds[0].bookmarkId, int64_t(2));
        QVERIFY(!rebuilds[0].forceOCR);
        QCOMPARE(rebuilds[1].bookmarkId, int64_t(2));
        QVERIFY(rebuilds[1].forceOCR);
        const auto removed = chat.chat->sent<chat_input::RemoveFromChat>();
        QCOMPARE(removed.size(), size_t(1));
        QCOMPARE(removed[0].bookmarkId, int64_t(2));
    }

    // Only with the weights on disk, and only for documents whose rows another
    // model made; the row's context menu is the same menu.
    void reembeddingIsOfferedForDocumentsOfAnotherModel() {
        test::RecordingChatRef chat;
        auto withModel = [](DocumentInfo info, const std::string& model) {
            info.embeddingModel = model;
            return info;
        };
        chat.chat->change([&](ChatDetailState& s) {
            s.conversation.bookmarkId = 1;
            s.allDocuments = {
                withModel(document(1, "/docs/lexical.pdf", IndexingState::indexed), "native"),
                withModel(document(2, "/docs/local.pdf", IndexingState::indexed), "distilbert"),
                withModel(document(3, "/docs/remote.pdf", IndexingState::indexed),
                          "text-embedding-3-small"),
                document(4, "/docs/new.pdf", IndexingState::indexing)};
        });
        DocumentListView view(chat.ref);
        bool downloaded = false;
        view.setLocalModelCheck([&] { return downloaded; });
        const QString entry = QStringLiteral("Re-embed with Local Model");
        QVERIFY(!action(view, "lexical.pdf", entry));

        // A download while the chat is open shows when the menu opens next.
        downloaded = true;
        QToolButton* lexicalActions = nullptr;
        for (auto* button : view.findChildren<QToolButton*>())
            if (button->accessibleName() == "Actions for lexical.pdf") lexicalActions = button;
        QVERIFY(lexicalActions);
        emit lexicalActions->menu()->aboutToShow();
        QVERIFY(action(view, "lexical.pdf", entry));
        downloaded = false;

        // The indexer's state says so too, and rows are made anew with it.
        chat.chat->change([](ChatDetailState& s) { s.localModelInstalled = true; });
        QVERIFY(action(view, "lexical.pdf", entry));
        QVERIFY(action(view, "remote.pdf", entry));
        QVERIFY(!action(view, "local.pdf", entry));
        QVERIFY(!action(view, "new.pdf", entry));

        action(view, "lexical.pdf", entry)->trigger();
        const auto sent = chat.chat->sent<chat_input::ReembedWithLocalModel>();
        QCOMPARE(sent.size(), size_t(1));
        QCOMPARE(sent[0].bookmarkId, int64_t(1));

        QWidget* row = nullptr;
        for (auto* widget : view.findChildren<QWidget*>())
            if (widget->property("bookmarkId").toLongLong() == 1 && !widget->isHidden())
                row = widget;
        QVERIFY(row);
        QCOMPARE(row->contextMenuPolicy(), Qt::CustomContextMenu);
        emit row->customContextMenuRequested(QPoint(4, 4));
        QMenu* shown = nullptr;
        for (auto* menu : view.findChildren<QMenu*>())
            if (menu->isVisible()) shown = menu;
        QVERIFY(shown);
        QCOMPARE(shown->actions().size(), 4);  // the two reprocesses, re-embed, remove
        // The list with its row's menu, as build/screenshots/document-list-reembed.png.
        view.resize(260, 220);
        QImage picture = view.grab().toImage();
        QPainter painter(&picture);
        painter.drawPixmap(view.mapFromGlobal(shown->pos()), shown->grab());
        painter.end();
        const QString folder = QCoreApplication::applicationDirPath() + "/../screenshots";
        QVERIFY(QDir().mkpath(folder));
        QVERIFY(picture.save(folder + "/document-list-reembed.png"));
        shown->hide();
    }

    void statesShowTheirWordsAndAMovedFileCanBeLocated() {
        test::RecordingChatRef chat;
        chat.chat->change([](ChatDetailState& s) {
            s.conversation.bookmarkId = 1;
            auto stale = document(3, "/old/moved.pdf", IndexingState::none);
            stale.isStale = true;
            stale.errorMessage = DocumentInfo::movedOrDeletedMessage;
            auto failed = document(2, "/docs/scan.pdf", IndexingState::failed);
            failed.errorMessage = "The document could not be read.";
            auto damaged = document(4, "/docs/cut.pdf", IndexingState::indexed);
            damaged.warning = "“cut.pdf” is damaged or cut short.";
            s.allDocuments = {document(1, "/docs/main.pdf", IndexingState::indexing), failed, stale,
                              damaged};
            s.loadingState = LoadingState::indexing;
            s.indexingProgress = 40;
            s.totalPageNumber = 10;
        });
        DocumentListView view(chat.ref);
        QString askedFor;
        view.setLocateFile([&](QWidget*, const QString& oldPath) {
            askedFor = oldPath;
            return QStringLiteral("/new/place/moved.pdf");
        });
        QVERIFY(showsText(view, "Indexing... 40%"));
        QVERIFY(showsText(view, "The document could not be read."));
        QVERIFY(showsText(view, DocumentInfo::movedOrDeletedMessage));
        QVERIFY(showsText(view, "“cut.pdf” is damaged or cut short."));
        auto bars = view.findChildren<QProgressBar*>();
        QCOMPARE(bars.size(), 1);
        QCOMPARE(bars.front()->value(), 40);

        // Progress is drawn in place: an open menu of a row is not pulled away.
        auto* before = action(view, "main.pdf", "Reprocess");
        chat.chat->change([](ChatDetailState& s) { s.indexingProgress = 70; });
        QCOMPARE(action(view, "main.pdf", "Reprocess"), before);
        QCOMPARE(bars.front()->value(), 70);
        QVERIFY(showsText(view, "Indexing... 70%"));

        QPushButton* locate = nullptr;
        for (auto* button : view.findChildren<QPushButton*>())
            if (button->text() == "Locate...") locate = button;
        QVERIFY(locate);
        locate->click();
        QCOMPARE(askedFor, QStringLiteral("/old/moved.pdf"));
        const auto updates = chat.chat->sent<chat_input::UpdateBookmark>();
        QCOMPARE(updates.size(), size_t(1));
        QCOMPARE(updates[0].bookmarkId, int64_t(3));
        QCOMPARE(updates[0].url, std::string("file:///new/place/moved.pdf"));
    }

    void theChatViewTellsHowFarItsDocumentsAre() {
        struct Case {
            LoadingState state;
            bool hasMessages, scanned;
            int pages;
            QString headline, line;
        };
        const QString first = "Preparing your chat for the first time";
        const QString again = "Preparing your chat...";
        const std::vector<Case> cases{
            {LoadingState::indexing, false, false, 500, first, "It may take a while..."},
            {LoadingState::indexing, true, false, 501, again,
             "Large file detected. It may take up to 10 minutes..."},
            {LoadingState::indexing, false, true, 3, first,
             "Scanned PDF detected. It may take up to 10 minutes..."},
            {LoadingState::loading, false, false, 0, again, ""},
            {LoadingState::failed, false, false, 0, "Failed to process your documents",
             "the reason"},
        };
        for (const auto& c : cases) {
            test::RecordingChatRef chat;
            chat.chat->change([&](ChatDetailState& s) {
                s.loadingState = c.state;
                if (c.hasMessages) s.messages.emplace_back();
                s.isScannedDocument = c.scanned;
                s.totalPageNumber = c.pages;
                s.loadingFailReason = "the reason";
            });
            IndexingStatusView view(chat.ref);
            view.show();
            QVERIFY(view.isVisible());
            QVERIFY2(showsText(view, c.headline), qPrintable(c.headline));
            if (!c.line.isEmpty()) QVERIFY2(showsText(view, c.line), qPrintable(c.line));
            QPushButton* tryAgain = view.findChild<QPushButton*>();
            QCOMPARE(tryAgain->isVisible(), c.state == LoadingState::failed);
            if (tryAgain->isVisible()) {
                tryAgain->click();
                QCOMPARE(chat.chat->sent<chat_input::LoadIndex>().size(), size_t(1));
            }
            chat.chat->change([](ChatDetailState& s) { s.loadingState = LoadingState::loaded; });
            QVERIFY(!view.isVisible());
        }
    }
};

QTEST_MAIN(DocumentListViewTest)
#include "DocumentListViewTest.moc"
