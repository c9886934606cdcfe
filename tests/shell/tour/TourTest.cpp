#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QListWidget>
#include <QPushButton>
#include <QtTest>
#include <nlohmann/json.hpp>

#include "chat/AppChatService.h"
#include "conversation/ChatListViewModel.h"
#include "shell/chat/ChatWindow.h"
#include "shell/chat/ComposeBox.h"
#include "shell/chat/OpenAIKeyModalView.h"
#include "shell/start/StartWindow.h"
#include "shell/tour/TourCardView.h"
#include "store/AppPreferences.h"
#include "support/ScriptedChatServer.h"
#include "support/ShellTestCore.h"

using namespace folvane;

namespace {

constexpr int demoChatId = 1;

TourCardView* cardOf(QWidget* window) {
    return window ? window->findChild<TourCardView*>() : nullptr;
}

// Saves the window's picture to build/screenshots/NAME.png, to look at.
void saveScreenshot(QWidget* window, const QString& name) {
    const QString folder = QCoreApplication::applicationDirPath() + "/../screenshots";
    QVERIFY(QDir().mkpath(folder));
    QVERIFY(window->grab().save(folder + "/" + name + ".png"));
}

nlohmann::json storedSettings(test::ShellTestCore& shell) {
    return nlohmann::json::parse(test::readFile(shell.dir / "config/settings.json"));
}

// Makes chats answerable by a custom model on the server, the default model.
void answerFrom(test::ShellTestCore& shell, const test::LoopbackServer& server) {
    CustomModel custom;
    custom.provider = "Ollama";
    custom.name = "Scripted";
    custom.apiEndpoint = server.baseURL();
    custom.modelId = "gpt-4";
    custom.contextLength = 16000;
    const int64_t id = shell.core.service().insertCustomModel(custom);
    shell.core.preferences().setCustomModelId(id);
    shell.core.service().updateCustomModelId(demoChatId, id);
    shell.core.chatList().trigger(chat_list_input::Sync{});
}

}  // namespace

class TourTest : public QObject {
    Q_OBJECT
  private slots:
    void theWelcomeCardComesASecondAfterTheStartAndEndTourStoresTheEnd() {
        test::ShellTestCore shell;
        QElapsedTimer clock;
        clock.start();
        shell.windows.showWelcome();
        StartWindow* start = shell.windows.startWindow();
        QVERIFY(QTest::qWaitForWindowActive(start));
        TourCardView* card = cardOf(start);
        QVERIFY(card && !card->isVisible());
        QTRY_VERIFY_WITH_TIMEOUT(card->isVisible(), 3000);
        QVERIFY(clock.elapsed() >= 900);

        QCOMPARE(card->accessibleName(), QStringLiteral("Welcome to Folvane (1/5)"));
        QCOMPARE(card->accessibleDescription(),
                 QStringLiteral("To start, double-click on the Example Chat below."));
        QCOMPARE(card->continueButton()->text(), QStringLiteral("Continue \u2192"));
        QCOMPARE(card->continueButton()->accessibleName(), QStringLiteral("Continue"));
        QCOMPARE(card->endButton()->accessibleName(), QStringLiteral("End tour"));
        // Below the example chat, and inside the window.
        auto* list = start->findChild<QListWidget*>();
        const QRect row = list->visualItemRect(list->item(0));
        QVERIFY(card->y() >= list->viewport()->mapTo(start, row.bottomLeft()).y());
        QVERIFY(start->rect().contains(card->geometry()));
        saveScreenshot(start, "tour-welcome");

        // From the list, Tab reaches the confirming button, then "End tour".
        list->setFocus();
        QTest::keyClick(list, Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), card->continueButton());
        QTest::keyClick(card->continueButton(), Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), card->endButton());
        QTest::keyClick(card->endButton(), Qt::Key_Return);
        QVERIFY(!card->isVisible());
        QVERIFY(shell.core.preferences().onboardingTourEnded());
        QCOMPARE(storedSettings(shell).value("onboardingTourEnded", false), true);
        QCOMPARE(shell.core.preferences().onboardingTourStep(), OnboardingTourStep::stepZero);

        start->hide();
        start->show();
        QTest::qWait(1300);
        QVERIFY(!card->isVisible());
    }

    void theTourWalksFromTheExampleChatToTheLastCard() {
        test::ShellTestCore shell;
        test::LoopbackServer server;
        test::serveChatScripts(server, {test::textScript({"Peers", " sign blocks."})});
        answerFrom(shell, server);
        auto& preferences = shell.core.preferences();

        shell.windows.showWelcome();
        StartWindow* start = shell.windows.startWindow();
        TourCardView* welcome = cardOf(start);
        QTRY_VERIFY_WITH_TIMEOUT(welcome->isVisible(), 3000);
        welcome->continueButton()->click();
        QCOMPARE(preferences.onboardingTourStep(), OnboardingTourStep::stepSetup);

        // A default model makes the chat ready: the question comes next.
        ChatWindow* chat = shell.windows.chatWindow(demoChatId);
        QVERIFY(chat && chat->isVisible());
        TourCardView* card = cardOf(chat);
        QTRY_COMPARE(card->card(), TourCard::askQuestion);
        QVERIFY(card->isVisible());
        QVERIFY(card->geometry().bottom() <= chat->composeBox()->mapTo(chat, QPoint(0, 0)).y() + 1);
        QCOMPARE(card->continueButton()->text(),
                 QStringLiteral("Ask \u201cHow does Bitcoin work?\u201d \u2192"));
        QTest::qWait(500);
        saveScreenshot(chat, "tour-ask");

        card->continueButton()->click();
        auto demo = *shell.core.chatList().find(demoChatId);
        const auto& messages = demo.state().messages;
        QVERIFY(!messages.empty());
        QCOMPARE(messages.back().content, std::string("How does Bitcoin work?"));
        QVERIFY(preferences.onboardingUsed() && preferences.onboardingSetup());
        QCOMPARE(preferences.onboardingTourStep(), OnboardingTourStep::stepCustomize);
        QCOMPARE(card->card(), TourCard::advancedParameters);
        QVERIFY(card->isVisible());
        saveScreenshot(chat, "tour-parameters");

        // Escape closes it, and the tour moves on all the same.
        card->continueButton()->setFocus();
        QTest::keyClick(card->continueButton(), Qt::Key_Escape);
        QVERIFY(!card->isVisible());
        QCOMPARE(preferences.onboardingTourStep(), OnboardingTourStep::stepOpen);

        // The last card shows as soon as the start window appears again.
        start->hide();
        start->show();
        QTRY_VERIFY_WITH_TIMEOUT(welcome->isVisible(), 500);
        QCOMPARE(welcome->card(), TourCard::openDocuments);
        saveScreenshot(start, "tour-open");
        welcome->endButton()->click();
        QVERIFY(preferences.onboardingTourEnded());
        QCOMPARE(preferences.onboardingTourStep(), OnboardingTourStep::stepZero);
        QTRY_VERIFY(!demo.state().isBusy());
    }

    void withoutAKeyTheSetUpCardAsksForItThenGivesWayToTheQuestion() {
        test::ShellTestCore shell;
        auto& preferences = shell.core.preferences();
        preferences.setOnboardingTourStep(OnboardingTourStep::stepSetup);
        shell.core.chatList().trigger(chat_list_input::Sync{});
        shell.windows.openChat(demoChatId);
        ChatWindow* chat = shell.windows.chatWindow(demoChatId);
        TourCardView* card = cardOf(chat);
        QVERIFY(card);
        QTRY_COMPARE(card->card(), TourCard::setUp);
        QCOMPARE(card->continueButton()->text(), QStringLiteral("Enter OpenAI API Key \u2192"));
        saveScreenshot(chat, "tour-set-up");

        card->continueButton()->click();
        auto* sheet = chat->findChild<OpenAIKeyModalView*>();
        QVERIFY(sheet && sheet->isVisible());
        QVERIFY(!card->isVisible());
        sheet->reject();

        preferences.setOpenAIKey("sk-not-a-real-key");
        QCOMPARE(card->card(), TourCard::askQuestion);
        QVERIFY(card->isVisible());
        preferences.setOpenAIKey("");
        QCOMPARE(card->card(), TourCard::setUp);
        preferences.waitForSecretWrites();
    }
};

QTEST_MAIN(TourTest)
#include "TourTest.moc"
