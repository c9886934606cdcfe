#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QtTest>

#include "chat/AppChatService.h"
#include "conversation/ProviderFormViewModel.h"
#include "settings/models/FormTestSupport.h"
#include "shell/chat/OpenAIKeyModalView.h"
#include "store/AppPreferences.h"
#include "support/LoopbackServer.h"
#include "support/ShellTestCore.h"

using namespace folvane;

namespace {

// The modal over a key check that goes to the loopback server.
struct Modal {
    test::ShellTestCore shell;
    test::LoopbackServer server;
    OpenAIKeyModalView view{std::make_unique<ProviderFormViewModel>(
        shell.core.service(), shell.core.preferences(), shell.core.http(), shell.mainQueue,
        test::loopbackEndpoints(server), ProviderForm::openAIKeyModal)};
};

}  // namespace

class OpenAIKeyModalViewTest : public QObject {
    Q_OBJECT
  private slots:
    void itAsksInItsOwnWords() {
        Modal modal;
        QCOMPARE(modal.view.windowTitle(), QStringLiteral("Enter your OpenAI API Key"));
        const QStringList shown = test::shownTexts(&modal.view);
        QVERIFY(
            shown.contains(QStringLiteral("To start chatting with your PDF, you'll need an "
                                          "OpenAI API key.\nMake sure your OpenAI account has "
                                          "valid billing info.")));
        QCOMPARE(modal.view.saveButton()->text(), QStringLiteral("Save API Key"));
        QCOMPARE(modal.view.cancelButton()->text(), QStringLiteral("Cancel"));
        QCOMPARE(modal.view.keyField()->echoMode(), QLineEdit::Password);
        test::verifyControlsNamedAndReachable(&modal.view, 3);
    }

    void theCheckDecidesWhetherItCloses_data() {
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("body");
        QTest::addColumn<bool>("closes");
        QTest::addColumn<QString>("error");
        QTest::addColumn<bool>("quota");
        QTest::newRow("passes") << 200 << test::chatAnswer << true << "" << false;
        QTest::newRow("rejected")
            << 401
            << QString::fromStdString(test::openAIError("Incorrect API key provided: sk-t***.",
                                                        "invalid_request_error"))
            << false
            << "ERROR: Sorry, OpenAI has rejected your request. Here is the error message from "
               "OpenAI: Incorrect API key provided: sk-t***."
            << false;
        QTest::newRow("no quota") << 429
                                  << QString::fromStdString(
                                         test::openAIError(test::quotaWords, "insufficient_quota"))
                                  << false << "" << true;
    }
    void theCheckDecidesWhetherItCloses() {
        QFETCH(int, status);
        QFETCH(QString, body);
        QFETCH(bool, closes);
        QFETCH(QString, error);
        QFETCH(bool, quota);
        Modal modal;
        auto& preferences = modal.shell.core.preferences();
        modal.server.setHandler(test::plainResponse(body.toStdString(), status));
        QSignalSpy accepted(&modal.view, &QDialog::accepted);
        modal.view.show();
        modal.view.keyField()->setText(QStringLiteral("  sk-test  "));
        modal.view.saveButton()->click();
        QVERIFY(!modal.view.saveButton()->isEnabled());
        QTRY_VERIFY_WITH_TIMEOUT(modal.view.saveButton()->isEnabled() || accepted.count() > 0,
                                 10000);
        QCOMPARE(modal.server.lastRequest().header("Authorization").value_or(""),
                 std::string("Bearer sk-test"));

        QCOMPARE(accepted.count() == 1, closes);
        QCOMPARE(modal.view.isVisible(), !closes);
        QCOMPARE(preferences.openAIKey(), closes ? std::string("sk-test") : std::string());
        QCOMPARE(preferences.onboardingSetup(), closes);
        QCOMPARE(modal.view.errorLabel()->isVisibleTo(&modal.view), !error.isEmpty());
        QCOMPARE(modal.view.errorLabel()->text(), error);
        QCOMPARE(modal.view.quotaAlert() != nullptr, quota);
        if (quota) {
            QCOMPARE(modal.view.quotaAlert()->windowTitle(),
                     QStringLiteral("OpenAI Rejected This API Key"));
            modal.view.quotaAlert()->reject();
            QTRY_VERIFY(!modal.view.quotaAlert());
        }
        // A failure leaves the key where it was typed.
        if (!closes) QCOMPARE(modal.view.keyField()->text(), QStringLiteral("  sk-test  "));
        preferences.waitForSecretWrites();
    }
};

QTEST_MAIN(OpenAIKeyModalViewTest)
#include "OpenAIKeyModalViewTest.moc"
