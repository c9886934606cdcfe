#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "chat/AppChatService.h"
#include "conversation/CustomModelListViewModel.h"
#include "conversation/ProviderFormViewModel.h"
#include "runtime/BlockingMainQueue.h"
#include "store/AppPreferences.h"
#include "support/LoopbackHttpClient.h"
#include "support/LoopbackServer.h"
#include "support/TempDir.h"
#include "support/TestDatabase.h"

namespace folvane {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;
namespace form_input = provider_form_input;
using namespace std::chrono_literals;

const char* chatAnswer =
    R"({"id":"c1","object":"chat.completion","created":1,"model":"m","choices":[{"index":0,"message":{"role":"assistant","content":"I am fine"},"finish_reason":"stop"}]})";
const char* modelList =
    R"({"object":"list","data":[{"id":"gpt-4","object":"model","created":1,"owned_by":"openai"}]})";

std::string openAIError(const std::string& message) {
    return json{{"error",
                 {{"message", message},
                  {"type", "insufficient_quota"},
                  {"param", nullptr},
                  {"code", nullptr}}}}
        .dump();
}

class ProviderFormViewModelTest : public ::testing::Test {
  protected:
    ProviderEndpoints endpoints() const {
        const std::string base = server.baseURL();
        return {base, base, base, base, base, base, base, base};
    }

    // A stored row of the provider, with the key (when given) in the key header.
    CustomModel storedRow(const std::string& provider, const std::string& endpoint,
                          const std::string& key = "") {
        CustomModel model;
        model.provider = provider;
        model.name = provider;
        model.apiEndpoint = endpoint;
        model.modelId = "qwen2.5";
        model.contextLength = 4096;
        model.headers = std::vector<CustomModelHeaderEntry>{};
        if (!key.empty()) model.headers->push_back({"api-key", key});
        model.id = service.insertCustomModel(model);
        return *service.getCustomModel(*model.id);
    }

    std::unique_ptr<ProviderFormViewModel> form(const CustomModel& model) {
        return std::make_unique<ProviderFormViewModel>(service, preferences, http, queue,
                                                       endpoints(), model);
    }
    std::unique_ptr<ProviderFormViewModel> form(ProviderForm kind) {
        return std::make_unique<ProviderFormViewModel>(service, preferences, http, queue,
                                                       endpoints(), kind);
    }

    ProviderFormFields serverFields(const std::string& key) const {
        ProviderFormFields fields;
        fields.name = "Workstation";
        fields.apiEndpoint = server.baseURL() + "/v1/chat/completions";
        fields.apiKey = key;
        fields.modelId = "llama3";
        fields.contextLength = "8192";
        return fields;
    }

    static ProviderFormFields keyOnly(const std::string& key) {
        ProviderFormFields fields;
        fields.apiKey = key;
        return fields;
    }

    // Sends the input and runs the main queue until the check or list is over
    // (and a failure's popover, 100 ms later, is up).
    void run(ProviderFormViewModel& model, ProviderFormInput input) {
        model.trigger(std::move(input));
        ASSERT_TRUE(queue.runUntil(
            [&] {
                const auto& s = model.state();
                const bool busy = s.isCheckingAPIKey || s.loadingModelList || s.isCheckingEndpoint;
                const bool popoverPending = !s.errorMessage.empty() && !s.showErrorPopover &&
                                            s.form != ProviderForm::openAIKeyModal;
                return !busy && !popoverPending;
            },
            10s));
    }

    test::TempDir dir;
    std::shared_ptr<SqliteConnection> db = test::makeDatabase(dir / "db.sqlite3");
    AppPreferences preferences;
    AppChatService service{db, preferences};
    BlockingMainQueue queue;
    test::LoopbackServer server;
    std::shared_ptr<HttpClient> http = std::make_shared<test::LoopbackHttpClient>();
};

TEST_F(ProviderFormViewModelTest, AFailedCheckWritesNothingAndShowsTheWords) {
    const CustomModel row = storedRow("LocalAI", "http://localhost:8080/v1/chat/completions");
    const auto before = preferences.lastUpdated();
    struct Case {
        std::string label;
        test::LoopbackServer::Handler handler;
        std::string words;
        bool quota;
    };
    const std::vector<Case> cases{
        {"rejected", test::plainResponse(openAIError("Incorrect API key provided: sk-t***."), 401),
         "Sorry, OpenAI has rejected your request. Here is the error message from OpenAI: "
         "Incorrect API key provided: sk-t***.",
         false},
        {"quota",
         test::plainResponse(openAIError("You exceeded your current quota, please check your plan "
                                         "and billing details. For more information..."),
                             429),
         "", true},
        {"malformed", test::plainResponse("<html></html>", 200, "text/html"),
         "The data couldn't be read because it isn't in the correct format.", false},
        {"dropped", test::chunkedResponse({R"({"choices":)"}, 200, {}, {}, true), "", false},
    };
    const auto model = form(row);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        server.setHandler(c.handler);
        run(*model, form_input::CheckAndSave{serverFields("sk-test")});
        const auto& state = model->state();
        EXPECT_FALSE(state.isAPIKeyValid);
        EXPECT_EQ(state.showQuotaAlert, c.quota);
        EXPECT_EQ(state.showErrorPopover, !c.quota);
        if (c.quota) {
            EXPECT_TRUE(state.errorMessage.empty());
        } else {
            EXPECT_FALSE(state.errorMessage.empty());
            EXPECT_THAT(state.errorMessage, HasSubstr(c.words));
        }

        EXPECT_EQ(service.getCustomModel(*row.id), row);
        EXPECT_EQ(preferences.customModelId(), 0);
        EXPECT_FALSE(preferences.onboardingSetup());
        EXPECT_EQ(preferences.lastUpdated(), before);
        model->trigger(form_input::DismissError{});
        EXPECT_FALSE(model->state().showErrorPopover || model->state().showQuotaAlert);
    }
}

TEST_F(ProviderFormViewModelTest, APassingCheckSavesTheRowAndMakesTheFirstOneTheDefault) {
    server.setHandler(test::plainResponse(chatAnswer));
    const CustomModel first = storedRow("LocalAI", "http://localhost:8080/v1/chat/completions");
    const CustomModel second = storedRow("LocalAI", "http://localhost:8080/v1/chat/completions");
    const auto firstForm = form(first);
    const auto secondForm = form(second);
    EXPECT_FALSE(firstForm->state().hasSavedKey);

    run(*firstForm, form_input::CheckAndSave{serverFields("  sk-test\n")});
    const auto& state = firstForm->state();
    EXPECT_TRUE(state.isAPIKeyValid);
    EXPECT_TRUE(state.errorMessage.empty());
    EXPECT_TRUE(state.hasSavedKey);
    EXPECT_TRUE(state.isDefault);
    EXPECT_EQ(preferences.customModelId(), *first.id);
    EXPECT_FALSE(preferences.onboardingSetup()) << "a server of the user's own is not set-up";
    EXPECT_EQ(server.lastRequest().header("api-key"), "sk-test") << "the key is trimmed";

    const CustomModel saved = *service.getCustomModel(*first.id);
    EXPECT_EQ(saved.name, "Workstation");
    EXPECT_EQ(saved.modelId, "llama3");
    EXPECT_EQ(saved.contextLength, 8192);
    EXPECT_EQ(saved.apiEndpoint, server.baseURL() + "/v1/chat/completions");
    EXPECT_EQ(saved.headers, (std::vector<CustomModelHeaderEntry>{{"api-key", "sk-test"}}));
    // The state never holds the key itself, and the database neither.
    EXPECT_EQ(state.model->headers, (std::vector<CustomModelHeaderEntry>{{"api-key", ""}}));
    auto query = db->prepare("SELECT headers FROM custom_models WHERE id = ?");
    query.bind(*first.id);
    ASSERT_TRUE(query.step());
    EXPECT_THAT(query.text(0), ::testing::Not(HasSubstr("sk-test")));

    // A second working model leaves the default where it is.
    run(*secondForm, form_input::CheckAndSave{serverFields("sk-test")});
    EXPECT_TRUE(secondForm->state().isAPIKeyValid);
    EXPECT_EQ(preferences.customModelId(), *first.id);
    EXPECT_FALSE(secondForm->state().isDefault);

    // "Set as Default" moves the mark, and each form hears of it.
    secondForm->trigger(form_input::SetAsDefault{});
    EXPECT_EQ(preferences.customModelId(), *second.id);
    EXPECT_TRUE(secondForm->state().isDefault);
    EXPECT_FALSE(firstForm->state().isDefault);

    // Deleting the default sends new chats back to the built-in route.
    CustomModelListViewModel list(service, preferences);
    list.trigger(custom_model_list_input::Sync{});
    list.trigger(custom_model_list_input::Remove{*second.id});
    EXPECT_EQ(preferences.customModelId(), 0);
    EXPECT_FALSE(secondForm->state().isDefault);
}

TEST_F(ProviderFormViewModelTest, WithAnOpenAIKeyAPassingCheckSetsNoDefault) {
    preferences.setOpenAIKey("sk-openai");
    server.setHandler(test::plainResponse(chatAnswer));
    const auto model = form(storedRow("LocalAI", "http://x/v1/chat/completions"));
    run(*model, form_input::CheckAndSave{serverFields("sk-test")});
    EXPECT_TRUE(model->state().isAPIKeyValid);
    EXPECT_EQ(preferences.customModelId(), 0);
}

TEST_F(ProviderFormViewModelTest, AnEmptyKeyFieldKeepsTheSavedKeyOrDoesNothing) {
    server.setHandler(test::plainResponse(chatAnswer));
    const CustomModel keyed = storedRow("Groq", "https://api.groq.com/openai/v1", "sk-saved");
    const auto groq = form(keyed);
    EXPECT_TRUE(groq->state().hasSavedKey);
    auto fields = serverFields("   ");
    fields.apiEndpoint = "https://api.groq.com/openai/v1";
    run(*groq, form_input::CheckAndSave{fields});
    EXPECT_TRUE(groq->state().isAPIKeyValid);
    EXPECT_EQ(server.lastRequest().header("Authorization"), "Bearer sk-saved");
    EXPECT_EQ(service.getCustomModel(*keyed.id)->headers,
              (std::vector<CustomModelHeaderEntry>{{"api-key", "sk-saved"}}));

    // No key typed and none saved: nothing happens, nothing is sent.
    const size_t sent = server.requests().size();
    const auto keyless = form(storedRow("Groq", "https://api.groq.com/openai/v1"));
    keyless->trigger(form_input::CheckAndSave{fields});
    EXPECT_FALSE(keyless->state().isCheckingAPIKey);
    queue.drain();
    EXPECT_EQ(server.requests().size(), sent);

    // The custom server's key may be left blank: its check goes without one.
    const auto open = form(storedRow("LocalAI", "http://x/v1/chat/completions"));
    run(*open, form_input::CheckAndSave{serverFields("")});
    EXPECT_TRUE(open->state().isAPIKeyValid);
    EXPECT_EQ(server.lastRequest().header("api-key"), std::nullopt);
    EXPECT_EQ(open->state().model->headers, std::vector<CustomModelHeaderEntry>{});
}

TEST_F(ProviderFormViewModelTest, FieldsTheFormRefusesNeverReachTheServer) {
    const auto model = form(storedRow("LocalAI", "http://x/v1/chat/completions"));
    const std::vector<std::pair<std::function<void(ProviderFormFields&)>, std::string>> cases{
        {[](auto& f) { f.name.clear(); }, "no name"},
        {[](auto& f) { f.apiEndpoint = "http://localhost:1234/v1"; }, "invalid endpoint"},
        {[](auto& f) { f.contextLength = "lots"; }, "no context length / api endpoint"},
        {[](auto& f) { f.contextLength = "0"; }, "whole number of tokens above 0"},
    };
    for (const auto& [change, words] : cases) {
        auto fields = serverFields("sk-test");
        change(fields);
        model->trigger(form_input::CheckAndSave{fields});
        ASSERT_TRUE(model->state().validationProblem);
        EXPECT_THAT(*model->state().validationProblem, HasSubstr(words));
        EXPECT_FALSE(model->state().isCheckingAPIKey);
    }
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(ProviderFormViewModelTest, TheOpenAIFormWritesItsSettingsAndTheModalItsKey) {
    server.setHandler([](const test::RecordedRequest& request, httplib::Response& response) {
        response.set_content(request.target == "/v1/models" ? modelList : chatAnswer,
                             "application/json");
    });
    const auto openAI = form(ProviderForm::openAI);
    EXPECT_TRUE(openAI->state().isDefault);
    EXPECT_FALSE(openAI->state().hasSavedKey);
    ProviderFormFields fields;
    fields.apiKey = "sk-test";
    fields.apiEndpoint = server.baseURL().substr(std::string("http://").size());
    fields.organizationIdentifier = "org-test";
    fields.temperature = 0.7;
    fields.modelId = "gpt-4";
    run(*openAI, form_input::CheckAndSave{fields});
    EXPECT_TRUE(openAI->state().isAPIKeyValid);
    EXPECT_TRUE(openAI->state().supportGPT4);
    EXPECT_TRUE(openAI->state().hasSavedKey);
    EXPECT_EQ(preferences.openAIKey(), "sk-test");
    EXPECT_EQ(preferences.customHost(), fields.apiEndpoint);
    EXPECT_EQ(preferences.organizationIdentifier(), "org-test");
    EXPECT_EQ(preferences.defaultTemperature(), 0.7);
    EXPECT_EQ(preferences.defaultModel(), "gpt-4");
    EXPECT_TRUE(preferences.onboardingSetup());
    EXPECT_EQ(server.lastRequest().header("OpenAI-Organization"), "org-test");

    openAI->trigger(form_input::DeleteOpenAIKey{});
    EXPECT_EQ(preferences.openAIKey(), "");
    EXPECT_FALSE(openAI->state().hasSavedKey);

    // The key modal: the token alone; "ERROR: " before a failure's words.
    const auto modal = form(ProviderForm::openAIKeyModal);
    server.setHandler(test::plainResponse(openAIError("Incorrect API key provided."), 401));
    run(*modal, form_input::CheckAndSave{keyOnly("sk-bad")});
    EXPECT_EQ(modal->state().errorMessage,
              "ERROR: Sorry, OpenAI has rejected your request. Here is the error message from "
              "OpenAI: Incorrect API key provided.");
    EXPECT_FALSE(modal->state().finished);
    EXPECT_EQ(preferences.openAIKey(), "");

    server.setHandler(test::plainResponse(chatAnswer));
    run(*modal, form_input::CheckAndSave{keyOnly("sk-good")});
    EXPECT_TRUE(modal->state().finished);
    EXPECT_TRUE(modal->state().errorMessage.empty());
    EXPECT_EQ(preferences.openAIKey(), "sk-good");
    EXPECT_EQ(server.lastRequest().header("OpenAI-Organization"), std::nullopt);
}

TEST_F(ProviderFormViewModelTest, TheOpenAIFormsDefaultGoesBackToTheBuiltInRoute) {
    const CustomModel row = storedRow("LocalAI", "http://x/v1/chat/completions");
    preferences.setCustomModelId(*row.id);
    const auto openAI = form(ProviderForm::openAI);
    EXPECT_FALSE(openAI->state().isDefault);
    // Without a key the check it goes on to has nothing to send.
    openAI->trigger(form_input::SetAsDefault{});
    EXPECT_EQ(preferences.customModelId(), 0);
    EXPECT_TRUE(openAI->state().isDefault);
    EXPECT_FALSE(openAI->state().isCheckingAPIKey);
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(ProviderFormViewModelTest, RefreshFetchesTheOllamaAndMistralLists) {
    server.setHandler([](const test::RecordedRequest& request, httplib::Response& response) {
        if (request.target == "/api/tags") {
            response.set_content(
                R"({"models":[{"name":"llama3","digest":"d","size":1,"modified_at":"2024-05-01T08:20:30Z"}]})",
                "application/json");
        } else {
            response.set_content(R"({"data":[{"id":"mistral-large-latest","created":5}]})",
                                 "application/json");
        }
    });
    const auto ollama = form(storedRow("Ollama", server.baseURL()));
    run(*ollama, form_input::RefreshModels{});
    EXPECT_TRUE(ollama->state().isOnline);
    EXPECT_EQ(ollama->state().availableModels, std::vector<std::string>{"llama3"});
    EXPECT_EQ(preferences.ollamaModels(), json::parse(R"([{"name":"llama3"}])"));

    ProviderFormFields elsewhere;
    elsewhere.apiEndpoint = "http://127.0.0.1:1";
    run(*ollama, form_input::RefreshModels{elsewhere});
    EXPECT_FALSE(ollama->state().isOnline);
    EXPECT_THAT(ollama->state().errorMessage,
                HasSubstr("Failed to validate the Ollama API Endpoint. Make sure you're on the "
                          "latest version. Error message: "));
    EXPECT_EQ(preferences.ollamaModels(), json::parse(R"([{"name":"llama3"}])"))
        << "a failed list keeps the stored one";

    const auto mistral = form(storedRow("MistralAI", "https://api.mistral.ai", "sk-saved"));
    run(*mistral, form_input::RefreshModels{});
    EXPECT_EQ(mistral->state().availableModels, std::vector<std::string>{"mistral-large-latest"});
    EXPECT_EQ(preferences.mistralModels(),
              json::parse(R"([{"id":"mistral-large-latest","created":5}])"));
    EXPECT_EQ(server.lastRequest().header("Authorization"), "Bearer sk-saved");
    EXPECT_EQ(form(storedRow("MistralAI", "https://x"))->state().availableModels,
              std::vector<std::string>{"mistral-large-latest"});
}

TEST_F(ProviderFormViewModelTest, AFormDestroyedDuringItsCheckDropsTheResult) {
    server.setHandler([this](const test::RecordedRequest&, httplib::Response& response) {
        server.waitForRelease(5s);
        response.set_content(chatAnswer, "application/json");
    });
    const CustomModel row = storedRow("LocalAI", "http://x/v1/chat/completions");
    auto model = form(row);
    model->trigger(form_input::CheckAndSave{serverFields("sk-test")});
    EXPECT_TRUE(model->state().isCheckingAPIKey);
    model.reset();  // stops the transfer and waits for the worker
    server.release();
    queue.drain();
    EXPECT_EQ(service.getCustomModel(*row.id), row);
    EXPECT_EQ(preferences.customModelId(), 0);
}

}  // namespace
}  // namespace folvane
