#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QtTest>

#include "chat/AppChatService.h"
#include "conversation/ChatListViewModel.h"
#include "platform/FileUrl.h"
#include "shell/chat/ChatWindow.h"
#include "shell/start/ChatRowDelegate.h"
#include "shell/start/StartWindow.h"
#include "store/AppPreferences.h"
#include "support/ShellTestCore.h"
#include "support/TestPdf.h"

using namespace folvane;

namespace {

struct ShownRow {
    QString title;
    QString detail;
    bool operator==(const ShownRow&) const = default;
};

QList<ShownRow> shownRows(QListWidget* list) {
    QList<ShownRow> rows;
    for (int i = 0; i < list->count(); ++i) {
        rows.append(
            {list->item(i)->text(), list->item(i)->data(ChatRowDelegate::detailRole).toString()});
    }
    return rows;
}

QLineEdit* filterField(QWidget* window) {
    for (auto* field : window->findChildren<QLineEdit*>()) {
        if (field->accessibleName() == QLatin1String("Filter...")) return field;
    }
    return nullptr;
}

// Answers the next modal message box with the button of this text, and
// records the question it asked.
void answerNextMessageBox(const QString& button, QString* question) {
    QTimer::singleShot(0, [button, question] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box) return;
        if (question) *question = box->text();
        for (QAbstractButton* candidate : box->buttons()) {
            if (candidate->text() == button) candidate->click();
        }
    });
}

}  // namespace

class StartWindowTest : public QObject {
    Q_OBJECT

    std::unique_ptr<test::ShellTestCore> shell;
    StartWindow* window = nullptr;
    QListWidget* list = nullptr;

    std::string pdf(const std::string& name) {
        const std::string path = shell->dir / name;
        test::writeFile(path, test::makePdf({"Page of " + name}));
        return path;
    }

    int64_t idOf(const QString& title) {
        for (const auto& chat : shell->core.chatList().state().chats) {
            if (chat.state().conversation.title == title.toStdString()) return chat.id();
        }
        return 0;
    }

  private slots:
    void init() {
        shell = std::make_unique<test::ShellTestCore>();
        shell->core.preferences().setDefaultModel("gpt-4");
        shell->windows.showWelcome();
        window = shell->windows.startWindow();
        QVERIFY(window);
        list = window->findChild<QListWidget*>();
        QVERIFY(list);
        // Two more chats after the demo one: one document, then two.
        shell->core.fileOpener().openFiles({fileUrlFromPath(pdf("Alpha Report.pdf"))});
        shell->core.fileOpener().openFiles(
            {fileUrlFromPath(pdf("beta.pdf")), fileUrlFromPath(pdf("gamma.pdf"))});
    }

    void cleanup() { shell.reset(); }

    void listsNewestFirstWithTheTwoLinesOfEachRow() {
        const QList<ShownRow> expected{
            {"beta", "2 documents · 0 messages · GPT-4"},
            {"Alpha Report", "0 messages · GPT-4"},
            {"Example Chat", "2 messages · GPT-3.5"},
        };
        QTRY_COMPARE(shownRows(list), expected);
        QCOMPARE(list->item(0)->data(Qt::AccessibleTextRole).toString(), QString("beta"));
    }

    void filtersByTitleWithoutCaseInTheListOrder() {
        QLineEdit* filter = filterField(window);
        QVERIFY(filter);
        QCOMPARE(filter->placeholderText(), QString("Filter..."));
        QTRY_COMPARE(list->count(), 3);
        const std::vector<std::pair<QString, QStringList>> cases{
            {"ALPHA", {"Alpha Report"}},
            {"a", {"beta", "Alpha Report", "Example Chat"}},
            {"report x", {}},
            {"", {"beta", "Alpha Report", "Example Chat"}},
        };
        for (const auto& [text, titles] : cases) {
            filter->setText(text);
            QStringList shown;
            for (const auto& row : shownRows(list)) shown << row.title;
            QCOMPARE(shown, titles);
        }
    }

    void renamesInPlaceAndStoresTheTitle() {
        QTRY_COMPARE(list->count(), 3);
        const int64_t id = idOf("Alpha Report");
        list->setCurrentRow(1);
        list->editItem(list->item(1));
        auto* editor = list->viewport()->findChild<QLineEdit*>();
        QVERIFY(editor);
        QCOMPARE(editor->accessibleName(), QString("Title"));
        editor->setText(QStringLiteral("Quarterly Überblick"));
        QTest::keyClick(editor, Qt::Key_Return);
        QTRY_COMPARE(list->item(1)->text(), QStringLiteral("Quarterly Überblick"));
        QCOMPARE(shell->core.service().getConversation(id)->title,
                 std::string("Quarterly Überblick"));
        // An empty title is not taken: the row shows the stored one again.
        list->editItem(list->item(1));
        editor = list->viewport()->findChild<QLineEdit*>();
        QVERIFY(editor);
        editor->clear();
        QTest::keyClick(editor, Qt::Key_Return);
        QTRY_COMPARE(list->item(1)->text(), QStringLiteral("Quarterly Überblick"));
    }

    void deletesOnlyWhenTheQuestionIsAnsweredDelete() {
        QTRY_COMPARE(list->count(), 3);
        const int64_t id = idOf("beta");
        QString question;
        answerNextMessageBox("Cancel", &question);
        window->confirmDelete(id);
        QCOMPARE(question, QString("Are you sure you want to delete this conversation?"));
        QCOMPARE(list->count(), 3);

        // The Delete key on the selected row asks the same question.
        list->setCurrentRow(0);
        answerNextMessageBox("Delete", nullptr);
        QTest::keyClick(list, Qt::Key_Delete);
        QTRY_COMPARE(list->count(), 2);
        QVERIFY(!shell->core.chatList().find(id));
        QVERIFY(!shell->core.service().getConversation(id));
    }

    void returnOpensTheChatAndClosesTheWindowWhenAsked() {
        QTRY_COMPARE(list->count(), 3);
        const int64_t id = idOf("Example Chat");
        list->setCurrentRow(2);
        emit list->itemActivated(list->item(2));
        QVERIFY(shell->windows.chatWindow(id));
        QVERIFY(window->isVisible());

        shell->core.preferences().setAutoCloseWelcomeWindow(true);
        const int64_t other = idOf("beta");
        emit list->itemActivated(list->item(0));
        QVERIFY(shell->windows.chatWindow(other));
        QTRY_VERIFY(!shell->windows.startWindow());
    }

    void showsOpeningWhileADocumentComesFromABrowser() {
        auto isShown = [this] {
            for (auto* label : window->findChildren<QLabel*>()) {
                if (label->text() == QLatin1String("Opening...")) return label->isVisible();
            }
            return false;
        };
        QVERIFY(!isShown());
        shell->windows.appState().setOpeningFromBrowsers(true);
        QVERIFY(isShown());
        shell->windows.appState().setOpeningFromBrowsers(false);
        QVERIFY(!isShown());
    }

    void droppedPdfsMakeOneChatAndOtherFilesAreSkipped() {
        test::writeFile(shell->dir / "notes.txt", "plain");
        window->dropUrls({QUrl::fromLocalFile(QString::fromStdString(pdf("dropped.pdf"))),
                          QUrl::fromLocalFile(QString::fromStdString(shell->dir / "notes.txt")),
                          QUrl(QStringLiteral("https://example.com/remote.pdf"))});
        QTRY_VERIFY(idOf("dropped") != 0);
        const int64_t id = idOf("dropped");
        QTRY_VERIFY(shell->windows.chatWindow(id));
        QCOMPARE(shell->core.chatList().find(id)->state().conversation.allBookmarkIds().size(),
                 size_t{1});
        QTRY_COMPARE(list->item(0)->text(), QString("dropped"));
    }
};

QTEST_MAIN(StartWindowTest)
#include "StartWindowTest.moc"
