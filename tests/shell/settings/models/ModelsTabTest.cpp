#include <QAction>
#include <QDir>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QtTest>

#include "chat/AppChatService.h"
#include "settings/models/FormTestSupport.h"
#include "shell/settings/models/ErrorPopover.h"
#include "shell/settings/models/ModelsTab.h"
#include "shell/settings/models/ProviderFormView.h"
#include "store/AppPreferences.h"
#include "support/LoopbackServer.h"
#include "support/ShellTestCore.h"

using namespace folvane;

namespace {

QAction* addAction(ModelsTab& tab, const QString& title) {
    for (auto* action : tab.addButton()->menu()->actions())
        if (action->text() == title) return action;
    return nullptr;
}

QString entry(ModelsTab& tab, int row) {
    return tab.modelList()->item(row)->text();
}

// Presses "Delete" under the list and answers the question with `answer`;
// returns the question's text.
QString deleteSelected(ModelsTab& tab, const QString& answer) {
    tab.deleteButton()->click();
    auto* question = tab.findChild<QMessageBox*>();
    if (!question) return {};
    const QString text = question->text();
    for (auto* button : question->buttons())
        if (button->text() == answer) button->click();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return text;
}

void saveScreenshot(QWidget& widget, const QString& name) {
    const QString folder = QCoreApplication::applicationDirPath() + "/../screenshots";
    QVERIFY(QDir().mkpath(folder));
    QVERIFY(widget.grab().save(folder + "/" + name + ".png"));
}

}  // namespace

class ModelsTabTest : public QObject {
    Q_OBJECT
  private slots:
    void theOpenAIEntryComesFirstAndTheAddMenuInItsOrder() {
        test::ShellTestCore shell;
        ModelsTab tab(shell.core);
        QCOMPARE(tab.modelList()->count(), 1);
        QVERIFY(entry(tab, 0).startsWith(QStringLiteral("OpenAI")));
        QVERIFY(entry(tab, 0).contains(QStringLiteral("DEFAULT")));
        QCOMPARE(tab.selectedId(), int64_t{0});
        QCOMPARE(tab.currentForm()->metaObject()->className(), "folvane::OpenAISettingsView");
        QCOMPARE(tab.secretStoreNote()->isHidden(),
                 shell.core.preferences().isSecretStoreAvailable());

        QStringList titles;
        for (auto* action : tab.addButton()->menu()->actions()) titles << action->text();
        QCOMPARE(titles,
                 QStringList({"Azure OpenAI", "OpenRouter", "Mistral AI", "Perplexity AI",
                              "Together.AI", "Groq", "Ollama", "OpenAI-compatible Server (beta)"}));
    }

    void addingAModelSelectsItsForm_data() {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("form");
        QTest::addColumn<QString>("listed");
        QTest::newRow("Azure") << "Azure OpenAI"
                               << "AzureOpenAISettingsView"
                               << "Azure OpenAI";
        QTest::newRow("OpenRouter") << "OpenRouter"
                                    << "OpenRouterSettingsView"
                                    << "OpenRouter";
        QTest::newRow("Mistral") << "Mistral AI"
                                 << "MistralSettingsView"
                                 << "Mistral AI";
        QTest::newRow("Perplexity") << "Perplexity AI"
                                    << "PerplexitySettingsView"
                                    << "Perplexity AI";
        QTest::newRow("Together") << "Together.AI"
                                  << "TogetherSettingsView"
                                  << "Together AI";
        QTest::newRow("Groq") << "Groq"
                              << "GroqSettingsView"
                              << "Groq";
        QTest::newRow("Ollama") << "Ollama"
                                << "OllamaSettingsView"
                                << "Ollama";
        QTest::newRow("custom server") << "OpenAI-compatible Server (beta)"
                                       << "CustomModelSettingsView"
                                       << "Local Model";
    }
    void addingAModelSelectsItsForm() {
        QFETCH(QString, title);
        QFETCH(QString, form);
        QFETCH(QString, listed);
        test::ShellTestCore shell;
        ModelsTab tab(shell.core);
        addAction(tab, title)->trigger();
        QCOMPARE(tab.modelList()->count(), 2);
        QCOMPARE(tab.modelList()->currentRow(), 1);
        QVERIFY2(entry(tab, 1).contains(listed), qPrintable(entry(tab, 1)));
        QCOMPARE(QString::fromLatin1(tab.currentForm()->metaObject()->className()),
                 QStringLiteral("folvane::") + form);
        QVERIFY(tab.selectedId() > 0);
        QCOMPARE(tab.currentForm()->rowId(), tab.selectedId());
        // Back and forth keeps the rows and shows each one's form.
        tab.modelList()->setCurrentRow(0);
        QCOMPARE(tab.currentForm()->metaObject()->className(), "folvane::OpenAISettingsView");
        tab.modelList()->setCurrentRow(1);
        QCOMPARE(QString::fromLatin1(tab.currentForm()->metaObject()->className()),
                 QStringLiteral("folvane::") + form);
    }

    void aPassingCheckRenamesTheEntryAndMarksItDefault() {
        test::ShellTestCore shell;
        test::LoopbackServer server;
        server.setHandler(test::plainResponse(test::chatAnswer));
        ModelsTab tab(shell.core);
        addAction(tab, QStringLiteral("OpenAI-compatible Server (beta)"))->trigger();
        auto* form = tab.currentForm();
        form->nameField()->setText(QStringLiteral("Workstation"));
        form->endpointField()->setText(QString::fromStdString(server.baseURL()) +
                                       QStringLiteral("/v1/chat/completions"));
        form->saveButton()->click();
        QTRY_VERIFY_WITH_TIMEOUT(entry(tab, 1).startsWith(QStringLiteral("Workstation")), 10000);
        QVERIFY(entry(tab, 1).contains(QStringLiteral("DEFAULT")));
        QVERIFY(!entry(tab, 0).contains(QStringLiteral("DEFAULT")));
        // The same form stays open over the saved row.
        QCOMPARE(tab.currentForm(), form);
        QVERIFY(form->defaultMark()->isVisibleTo(form));
    }

    void deletingTheDefaultRowAsksAndGoesBackToOpenAI() {
        test::ShellTestCore shell;
        ModelsTab tab(shell.core);
        addAction(tab, QStringLiteral("Ollama"))->trigger();
        const int64_t id = tab.selectedId();
        shell.core.preferences().setCustomModelId(id);
        QVERIFY(entry(tab, 1).contains(QStringLiteral("DEFAULT")));

        QCOMPARE(deleteSelected(tab, QStringLiteral("Cancel")),
                 QStringLiteral("Are you sure you want to delete this custom model?"));
        QCOMPARE(tab.modelList()->count(), 2);
        QCOMPARE(shell.core.preferences().customModelId(), id);

        deleteSelected(tab, QStringLiteral("Delete"));
        QCOMPARE(tab.modelList()->count(), 1);
        QVERIFY(!shell.core.service().getCustomModel(id) ||
                shell.core.service().getCustomModel(id)->deleted);
        QCOMPARE(shell.core.preferences().customModelId(), int64_t{0});
        QVERIFY(entry(tab, 0).contains(QStringLiteral("DEFAULT")));
        QCOMPARE(tab.selectedId(), int64_t{0});
        QCOMPARE(tab.currentForm()->metaObject()->className(), "folvane::OpenAISettingsView");
    }

    void theOpenAIEntryDeletesTheKey() {
        test::ShellTestCore shell;
        auto& preferences = shell.core.preferences();
        ModelsTab tab(shell.core);
        QVERIFY(!tab.deleteButton()->isEnabled());  // no key: nothing to delete
        preferences.setOpenAIKey("sk-test");
        QVERIFY(tab.deleteButton()->isEnabled());
        QVERIFY(tab.currentForm()->state().hasSavedKey);
        QVERIFY(tab.currentForm()->keyField()->text().isEmpty());

        QCOMPARE(deleteSelected(tab, QStringLiteral("Delete")),
                 QStringLiteral("Are you sure you want to delete this OpenAI API key?"));
        QVERIFY(preferences.openAIKey().empty());
        QVERIFY(!tab.deleteButton()->isEnabled());
        QVERIFY(tab.currentForm()->keyField()->isEnabled());
        preferences.waitForSecretWrites();
    }

    void everyControlOfTheTabHasANameAndTabFocus() {
        test::ShellTestCore shell;
        ModelsTab tab(shell.core);
        addAction(tab, QStringLiteral("Mistral AI"))->trigger();
        tab.resize(900, 600);
        test::verifyControlsNamedAndReachable(&tab, 8);
    }

    // Pictures of the tab with each form, to look at: build/screenshots/models-*.png.
    void screenshotsOfTheForms() {
        test::ShellTestCore shell;
        test::LoopbackServer server;
        server.setHandler(test::plainResponse(
            test::openAIError("Incorrect API key provided: sk-w***.", "invalid_request_error"),
            401));
        ModelsTab tab(shell.core);
        tab.resize(920, 640);
        tab.show();
        QVERIFY(QTest::qWaitForWindowExposed(&tab));
        saveScreenshot(tab, QStringLiteral("models-openai"));

        // Every form of the Add menu, named after its provider.
        for (auto* action : tab.addButton()->menu()->actions()) {
            action->trigger();
            const QString provider =
                QString::fromStdString(tab.currentForm()->state().model->provider);
            saveScreenshot(tab, QStringLiteral("models-") + provider.toLower());
        }
        auto* form = tab.currentForm();
        form->nameField()->setText(QStringLiteral("Workstation"));
        form->endpointField()->setText(QString::fromStdString(server.baseURL()) +
                                       QStringLiteral("/v1/chat/completions"));
        form->keyField()->setText(QStringLiteral("sk-wrong"));
        form->saveButton()->click();
        QTRY_VERIFY_WITH_TIMEOUT(form->visibleErrorPopover(), 10000);
        // The popover is a window of its own: the picture puts it where it shows.
        QPixmap picture = tab.grab();
        QPainter painter(&picture);
        auto* popover = form->visibleErrorPopover();
        painter.drawPixmap(tab.mapFromGlobal(popover->pos()), popover->grab());
        painter.end();
        const QString folder = QCoreApplication::applicationDirPath() + "/../screenshots";
        QVERIFY(picture.save(folder + "/models-localai-rejected.png"));
    }
};

QTEST_MAIN(ModelsTabTest)
#include "ModelsTabTest.moc"
