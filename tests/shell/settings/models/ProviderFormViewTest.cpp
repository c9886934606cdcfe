#include <QCheckBox>
#include <QComboBox>
#include <QDesktopServices>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QtTest>

#include "chat/AppChatService.h"
#include "conversation/ProviderFormViewModel.h"
#include "providers/CustomModelDefaults.h"
#include "settings/models/FormTestSupport.h"
#include "shell/settings/models/ErrorPopover.h"
#include "shell/settings/models/ProviderFormView.h"
#include "shell/settings/models/ProviderFormViewFactory.h"
#include "shell/settings/models/QuotaAlert.h"
#include "store/AppPreferences.h"
#include "support/LoopbackServer.h"
#include "support/ShellTestCore.h"

using namespace folvane;

namespace {

// A core, a loopback server that every check goes to, and forms over both.
struct Forms {
    test::ShellTestCore shell;
    test::LoopbackServer server;

    AppPreferences& preferences() { return shell.core.preferences(); }

    // A stored row of the provider, with its key when given.
    CustomModel row(const std::string& provider, const std::string& endpoint,
                    const std::string& key = "") {
        CustomModel model = CustomModel{};
        model.provider = provider;
        model.name = provider + " row";
        model.apiEndpoint = endpoint;
        model.contextLength = 2048;
        model.headers = std::vector<CustomModelHeaderEntry>{};
        if (!key.empty()) model.headers->push_back({"api-key", key});
        model.id = shell.core.service().insertCustomModel(model);
        return *shell.core.service().getCustomModel(*model.id);
    }

    std::unique_ptr<ProviderFormView> view(const CustomModel& model) {
        return makeProviderFormView(providerFormFor(model.provider),
                                    std::make_unique<ProviderFormViewModel>(
                                        shell.core.service(), preferences(), shell.core.http(),
                                        shell.mainQueue, test::loopbackEndpoints(server), model),
                                    preferences());
    }
    std::unique_ptr<ProviderFormView> view(ProviderForm form) {
        return makeProviderFormView(form,
                                    std::make_unique<ProviderFormViewModel>(
                                        shell.core.service(), preferences(), shell.core.http(),
                                        shell.mainQueue, test::loopbackEndpoints(server), form),
                                    preferences());
    }

    // The custom server's form over a fresh row, its fields filled in.
    std::unique_ptr<ProviderFormView> serverForm(const QString& key = QStringLiteral("sk-local")) {
        auto form = view(row("LocalAI", "http://localhost:8080/v1/chat/completions"));
        form->nameField()->setText(QStringLiteral("Workstation"));
        form->endpointField()->setText(QString::fromStdString(server.baseURL()) +
                                       QStringLiteral("/v1/chat/completions"));
        form->keyField()->setText(key);
        form->modelField()->setText(QStringLiteral("llama3"));
        form->contextField()->setText(QStringLiteral("8192"));
        return form;
    }
};

void waitForCheck(ProviderFormView& form) {
    QTRY_VERIFY_WITH_TIMEOUT(!form.state().isCheckingAPIKey, 10000);
}

}  // namespace

// Catches what "Read Guide" asks the desktop to open.
class UrlCatcher : public QObject {
    Q_OBJECT
  public:
    QList<QUrl> opened;
  public slots:
    void open(const QUrl& url) { opened << url; }
};

class ProviderFormViewTest : public QObject {
    Q_OBJECT
  private slots:
    void fieldsThatCannotWorkNeverReachTheServer_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("context");
        QTest::addColumn<QString>("problem");
        QTest::newRow("no chat completions path") << "Box"
                                                  << "/v1/completions"
                                                  << "2048"
                                                  << "invalid endpoint";
        QTest::newRow("no name") << ""
                                 << "/v1/chat/completions"
                                 << "2048"
                                 << "no name";
        QTest::newRow("context not a number") << "Box"
                                              << "/v1/chat/completions"
                                              << "2k"
                                              << "no context length / api endpoint";
    }
    void fieldsThatCannotWorkNeverReachTheServer() {
        QFETCH(QString, name);
        QFETCH(QString, path);
        QFETCH(QString, context);
        QFETCH(QString, problem);
        Forms forms;
        forms.server.setHandler(test::plainResponse(test::chatAnswer));
        auto form = forms.serverForm();
        form->nameField()->setText(name);
        form->endpointField()->setText(QString::fromStdString(forms.server.baseURL()) + path);
        form->contextField()->setText(context);
        form->saveButton()->click();
        QCOMPARE(form->state().validationProblem.value_or(""), problem.toStdString());
        QVERIFY(!form->state().isCheckingAPIKey);
        QVERIFY(form->saveButton()->isEnabled());
        QTest::qWait(200);
        QVERIFY(forms.server.requests().empty());
        // What was typed stays.
        QCOMPARE(form->endpointField()->text(),
                 QString::fromStdString(forms.server.baseURL()) + path);
    }

    void aPassingCheckSavesTheRowMakesItDefaultAndMasksTheKey() {
        Forms forms;
        forms.server.setHandler(test::plainResponse(test::chatAnswer));
        auto form = forms.serverForm(QStringLiteral("  sk-local  "));
        QVERIFY(!form->state().isDefault);
        QVERIFY(form->setDefaultButton()->isVisibleTo(form.get()));
        form->saveButton()->click();
        QVERIFY(!form->saveButton()->isEnabled());
        QVERIFY(form->busyIndicator()->isVisibleTo(form.get()));
        waitForCheck(*form);

        QVERIFY(form->saveButton()->isEnabled());
        QVERIFY(!form->busyIndicator()->isVisibleTo(form.get()));
        const auto request = forms.server.lastRequest();
        QCOMPARE(request.target, std::string("/v1/chat/completions"));
        QCOMPARE(request.header("Authorization").value_or(""), std::string("Bearer sk-local"));
        QVERIFY(request.body.find("How are you?") != std::string::npos);

        const auto saved = forms.shell.core.service().getCustomModel(form->rowId());
        QVERIFY(saved);
        QCOMPARE(saved->name, std::string("Workstation"));
        QCOMPARE(saved->modelId, std::string("llama3"));
        QCOMPARE(saved->contextLength, 8192);
        // The first working model becomes the default while there is no OpenAI key.
        QCOMPARE(forms.preferences().customModelId(), form->rowId());
        QVERIFY(form->defaultMark()->isVisibleTo(form.get()));
        QVERIFY(!form->setDefaultButton()->isVisibleTo(form.get()));
        // The key is saved, and never shown again.
        QVERIFY(form->keyField()->text().isEmpty());
        QVERIFY(!form->keyField()->isEnabled());
        QVERIFY(form->changeKeyButton()->isVisibleTo(form.get()));
    }

    void aSavedKeyStaysMaskedUntilChangeIsPressed() {
        Forms forms;
        auto form = forms.view(forms.row("Groq", "https://api.groq.com/openai/v1", "gsk-saved"));
        QVERIFY(form->state().hasSavedKey);
        QVERIFY(form->keyField()->text().isEmpty());
        QVERIFY(!form->keyField()->isEnabled());
        QVERIFY(form->changeKeyButton()->isVisibleTo(form.get()));
        // Untouched, the saved key is kept: the form sends none.
        QCOMPARE(form->fields().apiKey, std::string());

        form->changeKeyButton()->click();
        QVERIFY(form->keyField()->isEnabled());
        QVERIFY(!form->changeKeyButton()->isVisibleTo(form.get()));
        QCOMPARE(form->keyField()->echoMode(), QLineEdit::Password);
        form->keyField()->setText(QStringLiteral("gsk-new"));
        QCOMPARE(form->fields().apiKey, std::string("gsk-new"));
    }

    void aRejectedKeyShowsTheProvidersWordsInThePopover() {
        Forms forms;
        forms.server.setHandler(test::plainResponse(
            test::openAIError("Incorrect API key provided: sk-l***.", "invalid_request_error"),
            401));
        auto form = forms.serverForm();
        form->show();
        form->saveButton()->click();
        waitForCheck(*form);
        QTRY_VERIFY(form->visibleErrorPopover());
        const QString words = QStringLiteral(
            "Sorry, OpenAI has rejected your request. Here is the error message from OpenAI: "
            "Incorrect API key provided: sk-l***.");
        QCOMPARE(form->visibleErrorPopover()->message(), words);
        QVERIFY(form->visibleErrorPopover()->findChild<QLabel*>()->accessibleName() == words);
        QVERIFY(!form->quotaAlert());
        // Nothing was written, and the key stays where it was typed.
        QCOMPARE(forms.shell.core.service().getCustomModel(form->rowId())->name,
                 std::string("LocalAI row"));
        QCOMPARE(form->keyField()->text(), QStringLiteral("sk-local"));

        // Escape closes it, and the view model hears of it.
        QTest::keyClick(form->visibleErrorPopover(), Qt::Key_Escape);
        QTRY_VERIFY(!form->visibleErrorPopover());
        QVERIFY(!form->state().showErrorPopover);
    }

    void anAccountWithoutQuotaGetsTheAlertAndItsGuide() {
        Forms forms;
        UrlCatcher catcher;
        QDesktopServices::setUrlHandler(QStringLiteral("https"), &catcher, "open");
        forms.server.setHandler(
            test::plainResponse(test::openAIError(test::quotaWords, "insufficient_quota"), 429));
        auto form = forms.serverForm();
        form->show();
        form->saveButton()->click();
        waitForCheck(*form);
        QTRY_VERIFY(form->quotaAlert());
        QMessageBox* alert = form->quotaAlert();
        QCOMPARE(alert->windowTitle(), QStringLiteral("OpenAI Rejected This API Key"));
        QCOMPARE(alert->text(),
                 QStringLiteral("Error: You exceeded your current quota, please check your plan "
                                "and billing details.\n\nClick the button below to fix."));
        QStringList buttons;
        for (auto* button : alert->buttons()) buttons << button->text();
        buttons.sort();
        QCOMPARE(buttons, QStringList({"Cancel", "Read Guide"}));
        QVERIFY(!form->visibleErrorPopover());

        for (auto* button : alert->buttons())
            if (button->text() == QStringLiteral("Read Guide")) button->click();
        QTRY_VERIFY(!form->quotaAlert());
        QCOMPARE(catcher.opened, QList<QUrl>({quotaGuideUrl()}));
        QVERIFY(!form->state().showQuotaAlert);
        QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
    }

    void setAsDefaultMovesTheMarkBetweenForms() {
        Forms forms;
        auto first = forms.view(forms.row("LocalAI", "http://localhost:8080/v1/chat/completions"));
        auto second = forms.view(forms.row("Ollama", "http://localhost:11434"));
        forms.preferences().setCustomModelId(first->rowId());
        QVERIFY(first->defaultMark()->isVisibleTo(first.get()));
        QVERIFY(second->setDefaultButton()->isVisibleTo(second.get()));

        second->setDefaultButton()->click();
        QCOMPARE(forms.preferences().customModelId(), second->rowId());
        QVERIFY(second->defaultMark()->isVisibleTo(second.get()));
        QVERIFY(!second->setDefaultButton()->isVisibleTo(second.get()));
        QVERIFY(first->setDefaultButton()->isVisibleTo(first.get()));
        QVERIFY(!first->defaultMark()->isVisibleTo(first.get()));

        // The OpenAI form's default is the built-in route, id 0.
        auto openAI = forms.view(ProviderForm::openAI);
        openAI->setDefaultButton()->click();
        QCOMPARE(forms.preferences().customModelId(), int64_t{0});
        QVERIFY(openAI->defaultMark()->isVisibleTo(openAI.get()));
        QVERIFY(second->setDefaultButton()->isVisibleTo(second.get()));
    }

    void refreshFillsThePickerFromTheServer_data() {
        QTest::addColumn<QString>("provider");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("expected");
        QTest::newRow("Mistral") << "MistralAI"
                                 << "/v1/models"
                                 << R"({"data":[{"id":"open-mixtral-8x22b","created":1}]})"
                                 << "open-mixtral-8x22b";
        QTest::newRow("Ollama")
            << "Ollama"
            << "/api/tags"
            << R"({"models":[{"name":"llama3:8b","digest":"d","size":1,"modified_at":"2024-05-01T10:20:30Z"}]})"
            << "llama3:8b";
    }
    void refreshFillsThePickerFromTheServer() {
        QFETCH(QString, provider);
        QFETCH(QString, path);
        QFETCH(QString, answer);
        QFETCH(QString, expected);
        Forms forms;
        forms.server.setHandler(test::plainResponse(answer.toStdString()));
        auto form = forms.view(forms.row(provider.toStdString(), forms.server.baseURL(), "key"));
        QVERIFY(form->modelPicker()->findData(expected) < 0);
        form->refreshButton()->click();
        QTRY_VERIFY_WITH_TIMEOUT(form->modelPicker()->findData(expected) >= 0, 10000);
        QTRY_VERIFY(form->refreshButton()->isEnabled());
        QCOMPARE(forms.server.lastRequest().target, path.toStdString());
    }

    // Each form, as a new row of its provider opens it: its texts, what it
    // would send untouched, and every control named and reached by Tab.
    void eachFormShowsItsTextsAndDefaults_data() {
        QTest::addColumn<QString>("provider");
        QTest::addColumn<QStringList>("texts");
        QTest::addColumn<QString>("endpoint");
        QTest::addColumn<QString>("model");
        QTest::addColumn<QString>("context");
        QTest::newRow("OpenAI") << "OpenAI"
                                << QStringList{"API key provided by OpenAI.",
                                               "You can always change the model later. Note that "
                                               "GPT-4 is slower and more expensive.",
                                               "Note: exclude protocols and paths (https://, "
                                               "/v1/chat, etc.)",
                                               "org-xxxxx", "Default Model:"}
                                << ""
                                << "gpt-3.5-turbo"
                                << "";
        QTest::newRow("Azure") << "AzureOpenAI" << QStringList{"Stream Responses?"} << ""
                               << "gpt-3.5-turbo"
                               << "";
        QTest::newRow("OpenRouter")
            << "OpenRouter" << QStringList{"Default Model:"} << "https://openrouter.ai/api"
            << "openai/gpt-3.5-turbo"
            << "";
        QTest::newRow("Mistral") << "MistralAI" << QStringList{"Refresh"} << "api.mistral.ai"
                                 << "mistral-tiny"
                                 << "8096";
        QTest::newRow("Perplexity") << "PerplexityAI" << QStringList{} << "api.perplexity.ai"
                                    << "mixtral-8x7b-instruct"
                                    << "";
        QTest::newRow("Together") << "TogetherAI" << QStringList{"API key provided by Together AI."}
                                  << "https://api.together.xyz"
                                  << "openchat/openchat-3.5-1210"
                                  << "";
        QTest::newRow("Groq") << "Groq" << QStringList{"API key provided by Groq."}
                              << "https://api.groq.com/openai/v1"
                              << "llama2-70b-4096"
                              << "";
        QTest::newRow("Ollama") << "Ollama" << QStringList{"Base URL:", "Refresh"}
                                << "http://localhost:11434"
                                << ""
                                << "2048";
        QTest::newRow("custom server") << "LocalAI"
                                       << QStringList{"Name*:",
                                                      "http://localhost:1234/v1/chat/completions",
                                                      "2048",
                                                      "Only chat completions endpoint is supported",
                                                      "Leave blank if not required",
                                                      "Stream Responses?"}
                                       << "http://localhost:8080/v1/chat/completions"
                                       << ""
                                       << "2048";
        QTest::newRow("Anthropic")
            << "AnthropicAI" << QStringList{"API key provided by Anthropic.", "Anthropic"}
            << "https://api.anthropic.com"
            << "claude-3-sonnet-20240229"
            << "";
        QTest::newRow("Google AI")
            << "GoogleAI"
            << QStringList{"API key provided by Google AI.", "Google AI",
                           "Note that Gemini 1.5 Pro might not be available for your account yet."}
            << "https://generativelanguage.googleapis.com"
            << "gemini-1.0-pro"
            << "1000000";
    }
    void eachFormShowsItsTextsAndDefaults() {
        QFETCH(QString, provider);
        QFETCH(QStringList, texts);
        QFETCH(QString, endpoint);
        QFETCH(QString, model);
        QFETCH(QString, context);
        Forms forms;
        std::unique_ptr<ProviderFormView> form;
        if (provider == QStringLiteral("OpenAI")) {
            form = forms.view(ProviderForm::openAI);
        } else {
            CustomModel row = CustomModelDefaults::newRow(provider.toStdString());
            row.id = forms.shell.core.service().insertCustomModel(row);
            form = forms.view(row);
        }
        const QStringList shown = test::shownTexts(form.get());
        for (const auto& text : texts) QVERIFY2(shown.contains(text), qPrintable(text));
        const auto fields = form->fields();
        QCOMPARE(QString::fromStdString(fields.apiEndpoint), endpoint);
        QCOMPARE(QString::fromStdString(fields.modelId), model);
        QCOMPARE(QString::fromStdString(fields.contextLength), context);
        test::verifyControlsNamedAndReachable(form.get(), 4);
    }

    void theOpenAIPickerHasItsThreeSections() {
        Forms forms;
        auto form = forms.view(ProviderForm::openAI);
        QStringList headings;
        for (int i = 0; i < form->modelPicker()->count(); ++i)
            if (form->modelPicker()->itemData(i).isNull())
                headings << form->modelPicker()->itemText(i);
        QCOMPARE(headings, QStringList({"GPT-4", "GPT-3", "Specific Version"}));
    }
};

QTEST_MAIN(ProviderFormViewTest)
#include "ProviderFormViewTest.moc"
