#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QToolButton>
#include <QtTest>

#include "conversation/PageNavigator.h"
#include "platform/FileUrl.h"
#include "shell/chat/ChatWindow.h"
#include "shell/chat/DocumentListView.h"
#include "shell/viewer/DocumentPane.h"
#include "shell/viewer/DocumentView.h"
#include "shell/viewer/FindBar.h"
#include "shell/viewer/GoToPageDialog.h"
#include "support/RecordingChat.h"
#include "support/ShellTestCore.h"
#include "support/TestPdf.h"

using namespace folvane;

namespace {

DocumentInfo document(int64_t id, const std::filesystem::path& path) {
    DocumentInfo info;
    info.bookmark.id = id;
    info.bookmark.filePath = fileUrlFromPath(path.string());
    info.fileUrl = info.bookmark.filePath;
    info.indexingState = IndexingState::indexed;
    return info;
}

std::filesystem::path writePages(const std::filesystem::path& path,
                                 const std::vector<std::vector<std::string>>& pages) {
    std::vector<test::TestPage> testPages;
    for (const auto& lines : pages) testPages.emplace_back(lines);
    test::writeFile(path, test::makePdfWithPages(testPages));
    return path;
}

bool showsText(QWidget& widget, const QString& text) {
    for (auto* label : widget.findChildren<QLabel*>())
        if (label->isVisibleTo(&widget) && label->text() == text) return true;
    return false;
}

QPushButton* visibleButton(QWidget& widget, const QString& text) {
    for (auto* button : widget.findChildren<QPushButton*>())
        if (button->isVisibleTo(&widget) && button->text() == text) return button;
    return nullptr;
}

}  // namespace

class DocumentPaneTest : public QObject {
    Q_OBJECT
  private slots:
    void aDocumentThatCannotBeOpenedOffersToLocateIt() {
        test::TempDir dir;
        test::RecordingChatRef chat;
        DocumentPane pane(chat.ref);
        pane.show();
        QVERIFY(showsText(pane, "No document selected"));

        auto stale = document(1, dir / "moved.pdf");
        stale.isStale = true;
        auto missing = document(2, dir / "gone.pdf");
        auto broken = document(3, dir / "broken.pdf");
        test::writeFile(dir / "broken.pdf", "not a PDF at all");
        for (const auto& failing : {stale, missing, broken}) {
            chat.chat->change([&](ChatDetailState& s) {
                s.conversation.bookmarkId = failing.bookmark.id;
                s.allDocuments = {failing};
            });
            QCOMPARE(pane.shownBookmarkId(), std::optional<int64_t>(failing.bookmark.id));
            QVERIFY(showsText(pane, "Failed to load the document."));
            QVERIFY(!pane.view());
        }

        // The chosen file goes to the chat as the bookmark's new place; the
        // viewer opens it when the chat's document changes.
        const auto found = writePages(dir / "found.pdf", {{"Found again"}});
        pane.setLocateFile(
            [&](QWidget*, const QString&) { return QString::fromStdString(found.string()); });
        visibleButton(pane, "Locate...")->click();
        const auto updates = chat.chat->sent<chat_input::UpdateBookmark>();
        QCOMPARE(updates.size(), size_t(1));
        QCOMPARE(updates[0].bookmarkId, int64_t(3));
        QCOMPARE(updates[0].url, fileUrlFromPath(found.string()));
        chat.chat->change([&](ChatDetailState& s) { s.allDocuments = {document(3, found)}; });
        QVERIFY(pane.view());
        QVERIFY(!showsText(pane, "Failed to load the document."));

        chat.chat->change([](ChatDetailState& s) { s.allDocuments.clear(); });
        QVERIFY(!pane.view());
        QVERIFY(showsText(pane, "No document selected"));
    }

    void aReferenceHighlightsAtOnceOrAfterSwitchingTheDocument() {
        test::TempDir dir;
        test::RecordingChatRef chat;
        const auto first = writePages(dir / "first.pdf", {{"Intro"}, {"Rates rose by 4 percent."}});
        const auto second =
            writePages(dir / "second.pdf", {{"Other"}, {"x"}, {"Costs fell sharply."}});
        chat.chat->change([&](ChatDetailState& s) {
            s.conversation.bookmarkId = 1;
            s.allDocuments = {document(1, first), document(2, second)};
            s.highlightedText = "Rates rose by 4 percent.";
        });
        DocumentPane pane(chat.ref);
        pane.resize(500, 700);
        pane.show();
        const auto& goToReference = chat.ref.state().pageNavigator->goToReference();
        QVERIFY(goToReference);

        goToReference(Reference{"chunk-1", 1, 2, std::nullopt});
        QCOMPARE(chat.chat->sent<chat_input::HighlightContentForReference>().size(), size_t(1));
        QCOMPARE(pane.view()->currentPage(), 1);
        QCOMPARE(pane.view()->highlights().size(), size_t(1));

        // Another document: the pane switches, and the page follows shortly.
        chat.chat->change([](ChatDetailState& s) { s.highlightedText = "Costs fell sharply."; });
        goToReference(Reference{"chunk-2", 2, 3, std::nullopt});
        QCOMPARE(pane.shownBookmarkId(), std::optional<int64_t>(2));
        QCOMPARE(pane.view()->highlights().size(), size_t(0));
        QTRY_COMPARE(pane.view()->currentPage(), 2);
        QCOMPARE(pane.view()->highlights().size(), size_t(1));

        // No page: nothing at all.
        goToReference(Reference{"chunk-3", 1, std::nullopt, std::nullopt});
        QCOMPARE(chat.chat->sent<chat_input::HighlightContentForReference>().size(), size_t(2));
        QCOMPARE(pane.shownBookmarkId(), std::optional<int64_t>(2));
    }

    void theGoToFormSendsOnlyAWholeNumber() {
        test::TempDir dir;
        test::RecordingChatRef chat;
        chat.chat->change([&](ChatDetailState& s) {
            s.allDocuments = {document(1, writePages(dir / "a.pdf", {{"One"}, {"Two"}}))};
        });
        DocumentPane pane(chat.ref);
        pane.show();
        const struct {
            const char* typed;
            std::vector<int> sent;
        } cases[] = {{"2", {2}}, {"", {2}}, {"two", {2}}, {" 1 ", {2, 1}}};
        for (const auto& c : cases) {
            chat.chat->change([](ChatDetailState& s) { s.shouldShowGoToPageForm = true; });
            auto* form = pane.findChild<GoToPageDialog*>();
            QVERIFY(form && form->isVisible());
            QVERIFY(showsText(*form, "Go to page:"));
            QTest::keyClicks(form->field(), c.typed);
            QTest::keyClick(form->field(), Qt::Key_Return, Qt::ControlModifier);
            std::vector<int> pages;
            for (const auto& go : chat.chat->sent<chat_input::GoToPage>()) pages.push_back(go.page);
            QCOMPARE(pages, c.sent);
            QVERIFY(!chat.chat->sent<chat_input::HideGoToForm>().empty());
            chat.chat->change([](ChatDetailState& s) { s.shouldShowGoToPageForm = false; });
            QTRY_VERIFY(!pane.findChild<GoToPageDialog*>());
        }
    }

    void theViewerKeysSendTheirInputs() {
        // The Find and Go keys are the menu bar's (tests/shell/menus); the
        // pane keeps history and zoom while it has the focus.
        test::TempDir dir;
        test::RecordingChatRef chat;
        chat.chat->change([&](ChatDetailState& s) {
            s.allDocuments = {document(1, writePages(dir / "a.pdf", {{"One"}, {"Two"}}))};
        });
        DocumentPane pane(chat.ref);
        pane.show();
        pane.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&pane));
        pane.view()->setFocus();

        QTest::keySequence(pane.view(), QKeySequence(Qt::ALT | Qt::Key_Left));
        QTest::keySequence(pane.view(), QKeySequence(Qt::ALT | Qt::Key_Right));
        const auto& inputs = chat.chat->inputs;
        QCOMPARE(inputs.size(), size_t(2));
        QVERIFY(std::holds_alternative<chat_input::GoBack>(inputs[0]));
        QVERIFY(std::holds_alternative<chat_input::GoForward>(inputs[1]));

        // Zoom keys reach the navigator and so the view.
        const double zoom = pane.view()->zoom();
        QTest::keySequence(pane.view(), QKeySequence(Qt::CTRL | Qt::Key_Plus));
        QVERIFY(pane.view()->zoom() > zoom);
        QTest::keySequence(pane.view(), QKeySequence(Qt::CTRL | Qt::Key_0));
        QCOMPARE(pane.view()->zoom(), zoom);
    }

    void pageContentGoesToTheChatAsContext() {
        test::TempDir dir;
        test::RecordingChatRef chat;
        chat.chat->change([&](ChatDetailState& s) {
            s.allDocuments = {document(1, writePages(dir / "a.pdf", {{"Quoted page words"}}))};
        });
        DocumentPane pane(chat.ref);
        std::unique_ptr<QMenu> menu(pane.view()->makeContextMenu(nullptr));
        menu->actions().front()->trigger();
        const auto sent = chat.chat->sent<chat_input::UseContentAsMessageContext>();
        QCOMPARE(sent.size(), size_t(1));
        QCOMPARE(sent[0].text, std::string("Quoted page words"));
    }

    void returnTwiceInTheFindFieldMovesToTheSecondMatch() {
        test::ShellTestCore shell;
        const auto path =
            writePages(shell.dir / "notes.pdf",
                       {{"first finding", "filler"}, {"second finding"}, {"third finding"}});
        const auto other = writePages(shell.dir / "other.pdf", {{"Another document"}});
        const int64_t id = shell.windows.openFiles(
            {QString::fromStdString(path.string()), QString::fromStdString(other.string())});
        ChatWindow* window = shell.windows.chatWindow(id);
        QVERIFY(window && window->documentPane());
        // The stored window size, more than the offscreen screen (800 by 600)
        // lets a new window take: the three pages then do not all fit, and
        // the match's page becomes the current one.
        window->resize(1000, 600);
        DocumentPane& pane = *window->documentPane();
        QTRY_VERIFY(pane.view());

        for (auto* button : pane.findChildren<QToolButton*>())
            if (button->accessibleName() == "Find in PDF...") button->click();
        QVERIFY(pane.findBar()->isVisible());
        QLineEdit* field = pane.findBar()->field();
        QTest::keyClicks(field, "finding");
        QTest::keyClick(field, Qt::Key_Return);
        QTRY_COMPARE(pane.view()->searchMatches().size(), size_t(3));
        QCOMPARE(pane.view()->selectedMatch(), 0);
        QTest::keyClick(field, Qt::Key_Return);
        QTRY_COMPARE(pane.view()->selectedMatch(), 1);
        QCOMPARE(pane.view()->currentPage(), 1);
        QCOMPARE(pane.view()->searchMatches().size(), size_t(3));
        QTest::keyClick(field, Qt::Key_Return, Qt::ShiftModifier);
        QTRY_COMPARE(pane.view()->selectedMatch(), 0);
        QTest::keyClick(field, Qt::Key_Escape);
        QVERIFY(!pane.findBar()->isVisible());

        // A click on the other document in the list shows it.
        QLabel* otherRow = nullptr;
        for (auto* label : window->documentList()->findChildren<QLabel*>())
            if (label->text() == "other.pdf") otherRow = label;
        QVERIFY(otherRow);
        QTest::mouseClick(otherRow, Qt::LeftButton);
        QTRY_VERIFY(pane.view() &&
                    pane.view()->document().pageText(0).find("Another document") == 0);
    }
};

QTEST_MAIN(DocumentPaneTest)
#include "DocumentPaneTest.moc"
