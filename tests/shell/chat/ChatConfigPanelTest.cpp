#include <QComboBox>
#include <QDoubleSpinBox>
#include <QStandardItemModel>
#include <QtTest>

#include "chat/AppChatService.h"
#include "conversation/CustomModelListViewModel.h"
#include "shell/chat/ChatConfigPanel.h"
#include "store/AppPreferences.h"
#include "support/RecordingChat.h"
#include "support/ShellTestCore.h"

using namespace folvane;

namespace {

QStringList entries(QComboBox* box) {
    QStringList texts;
    for (int i = 0; i < box->count(); ++i) texts << box->itemText(i);
    return texts;
}

// The row of a picker's entry with this text; -1 when there is none.
int rowOf(QComboBox* box, const QString& text) {
    return box->findText(text, Qt::MatchExactly);
}

}  // namespace

class ChatConfigPanelTest : public QObject {
    Q_OBJECT
  private slots:
    void pickersOfferTheProvidersAndTheirModels() {
        test::ShellTestCore shell;
        CustomModel router;
        router.provider = "OpenRouter";
        router.name = "My Router";
        router.modelId = "openai/gpt-4";
        router.contextLength = 2048;
        const int64_t routerId = shell.core.service().insertCustomModel(router);
        shell.core.preferences().setOpenRouterModels(
            nlohmann::json::array({{{"id", "openai/gpt-4"}}, {{"id", "acme/new-model"}}}));
        auto models = shell.core.makeCustomModelList();

        test::RecordingChatRef chat;
        chat.chat->change([](ChatDetailState& s) { s.conversation.model = "gpt-4"; });
        ChatConfigPanel panel(chat.ref, *models, shell.core.preferences());

        QCOMPARE(entries(panel.providerPicker()), (QStringList{"OpenAI", "My Router"}));
        QCOMPARE(panel.providerPicker()->currentText(), QStringLiteral("OpenAI"));
        // The OpenAI sections: headings that cannot be chosen, then display names.
        auto* picker = panel.modelPicker();
        const int gpt4 = rowOf(picker, "GPT-4");
        QVERIFY(gpt4 >= 0);
        auto* items = qobject_cast<QStandardItemModel*>(picker->model());
        QVERIFY(!items->item(gpt4)->isEnabled());
        QVERIFY(rowOf(picker, "GPT-3") > gpt4);
        QVERIFY(rowOf(picker, "Specific Version") > rowOf(picker, "GPT-3"));
        QCOMPARE(picker->currentData().toString(), QStringLiteral("gpt-4"));
        QVERIFY(rowOf(picker, "GPT-4 Turbo (new)") > gpt4);

        picker->activated(rowOf(picker, "GPT-3.5 16K"));
        const auto chosen = chat.chat->sent<chat_input::UpdateModel>();
        QCOMPARE(chosen.size(), size_t(1));
        QCOMPARE(chosen[0].model, std::string("gpt-3.5-turbo-16k"));

        panel.providerPicker()->activated(1);
        const auto provider = chat.chat->sent<chat_input::UpdateCustomModel>();
        QCOMPARE(provider.size(), size_t(1));
        QCOMPARE(provider[0].customModelId, routerId);
        // The chat takes the router's model with it, as the requests name it.
        const auto routerModel = chat.chat->sent<chat_input::UpdateModel>();
        QCOMPARE(routerModel.size(), size_t(2));
        QCOMPARE(routerModel[1].model, std::string("openai/gpt-4"));

        // The chat now answers through the router: its catalogue is offered.
        chat.chat->change([&](ChatDetailState& s) {
            s.conversation.customModelId = routerId;
            s.conversation.model = "acme/new-model";
            auto row = router;
            row.id = routerId;
            s.customModel = row;
        });
        QCOMPARE(entries(picker), (QStringList{"OpenAI: GPT-4", "acme/new-model"}));
        QCOMPARE(picker->currentText(), QStringLiteral("acme/new-model"));
        QCOMPARE(panel.providerPicker()->currentText(), QStringLiteral("My Router"));

        // Back to OpenAI: the router's model name means nothing there, so the
        // chat takes the default model; an OpenAI model stays as it is.
        shell.core.preferences().setDefaultModel("gpt-4");
        panel.providerPicker()->activated(0);
        auto back = chat.chat->sent<chat_input::UpdateModel>();
        QCOMPARE(back.size(), size_t(3));
        QCOMPARE(back[2].model, std::string("gpt-4"));
        chat.chat->change([](ChatDetailState& s) {
            s.conversation.customModelId = 0;
            s.conversation.model = "gpt-4-32k";
            s.customModel.reset();
        });
        panel.providerPicker()->activated(0);
        QCOMPARE(chat.chat->sent<chat_input::UpdateModel>().size(), size_t(3));
    }

    void theChatsValuesShowAndChangesAreSent() {
        test::ShellTestCore shell;
        auto models = shell.core.makeCustomModelList();
        test::RecordingChatRef chat;
        chat.chat->change([](ChatDetailState& s) {
            s.conversation.temperature = 0.3;
            s.conversation.contextLimit = 1;
            s.conversation.languageCode = "de";
            s.conversation.presencePenalty = 0.5;
        });
        ChatConfigPanel panel(chat.ref, *models, shell.core.preferences());
        QCOMPARE(panel.temperatureField()->value(), 0.3);
        QCOMPARE(panel.contextLimitPicker()->currentText(), QStringLiteral("Last 1 message"));
        QCOMPARE(panel.contextLimitPicker()->itemText(0), QStringLiteral("All Previous Messages"));
        QCOMPARE(panel.contextLimitPicker()->itemText(10), QStringLiteral("Last 10 messages"));
        QCOMPARE(panel.languagePicker()->currentData().toString(), QStringLiteral("de"));
        QCOMPARE(panel.presencePenaltyField()->value(), 0.5);
        QVERIFY(chat.chat->inputs.empty());  // showing the values sends nothing

        panel.temperatureField()->setValue(1.2);
        panel.contextLimitPicker()->activated(5);
        panel.frequencyPenaltyField()->setValue(-0.4);
        panel.languagePicker()->activated(0);
        QCOMPARE(chat.chat->sent<chat_input::UpdateTemperature>().at(0).temperature, 1.2);
        QCOMPARE(chat.chat->sent<chat_input::UpdateContextLimit>().at(0).limit, 5);
        QCOMPARE(chat.chat->sent<chat_input::UpdateFrequencyPenalty>().at(0).penalty, -0.4);
        QCOMPARE(chat.chat->sent<chat_input::UpdateLanguageCode>().at(0).code, std::string());
    }
};

QTEST_MAIN(ChatConfigPanelTest)
#include "ChatConfigPanelTest.moc"
