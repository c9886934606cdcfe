#include "providers/ProviderKeyCheck.h"

#include <algorithm>

#include "platform/Log.h"
#include "providers/AnthropicService.h"
#include "providers/GenerativeModel.h"
#include "providers/OllamaKit.h"
#include "providers/OpenAI.h"
#include "providers/ProviderResponseError.h"

namespace folvane {

namespace {

Configuration tokenConfiguration(const std::string& apiKey, const std::string& baseURL) {
    Configuration configuration;
    configuration.token = apiKey;
    configuration.baseURL = baseURL;
    configuration.timeoutInterval = Configuration::defaultTimeout;
    return configuration;
}

}  // namespace

ProviderKeyCheck::ProviderKeyCheck(std::shared_ptr<HttpClient> http, ProviderEndpoints endpoints)
    : http_(std::move(http)), endpoints_(std::move(endpoints)) {}

ChatQuery ProviderKeyCheck::checkQuery(std::string model, std::string text) {
    ChatQuery query;
    query.model = std::move(model);
    query.messages = {Chat{ChatRole::user, ChatInputContent(std::move(text)), {}, {}}};
    query.stream = false;
    return query;
}

void ProviderKeyCheck::chatCheck(const Configuration& configuration, const ChatQuery& query,
                                 bool requireChoices, std::stop_token stop) const {
    const OpenAI client(http_, configuration);
    const ChatResult result = client.chats(query, stop);
    if (requireChoices && result.choices.empty()) {
        throw ProviderResponseError("The server answered without any choices.");
    }
}

ProviderCheckResult ProviderKeyCheck::checkOpenAI(const OpenAISettings& settings, bool tokenAlone,
                                                  std::stop_token stop) const {
    Configuration configuration;
    if (!tokenAlone && !settings.customHost.empty()) {
        configuration = builtInConfiguration(settings);
    } else {
        configuration = tokenConfiguration(settings.apiKey, endpoints_.openAI);
    }
    chatCheck(configuration, checkQuery("gpt-3.5-turbo", "Say hi."), false, stop);

    ProviderCheckResult result;
    if (tokenAlone) return result;
    try {
        const auto models = OpenAI(http_, configuration).models(stop);
        result.supportGPT4 =
            std::any_of(models.data.begin(), models.data.end(),
                        [](const ModelResult& model) { return model.id == "gpt-4"; });
    } catch (const std::exception& error) {
        // The key has passed; the list only decides whether GPT-4 is offered,
        // and without it the form offers what every account has.
        log("Failed to read the OpenAI model list: " + std::string(error.what()));
    }
    return result;
}

ProviderCheckResult ProviderKeyCheck::checkRow(ProviderForm form, const CustomModel& row,
                                               const std::string& apiKey,
                                               std::stop_token stop) const {
    ProviderCheckResult result;
    switch (form) {
        case ProviderForm::azure:
            chatCheck(customModelConfiguration(row), checkQuery(row.modelId, "Hi"), false, stop);
            break;
        case ProviderForm::openRouter: {
            Configuration configuration =
                tokenConfiguration(apiKey, endpoints_.openRouter + "/api");
            configuration.customHeaders = {{"HTTP-Referer", provider_endpoints::productWebAddress},
                                           {"X-Title", provider_endpoints::productTitle}};
            chatCheck(configuration, checkQuery(row.modelId, "Hi"), false, stop);
            break;
        }
        case ProviderForm::groq: {
            Configuration configuration = customModelConfiguration(row);
            configuration.baseURL = endpoints_.groq;
            chatCheck(configuration, checkQuery("llama2-70b-4096", "Say hi."), false, stop);
            break;
        }
        case ProviderForm::mistral:
            chatCheck(tokenConfiguration(apiKey, row.apiEndpoint),
                      checkQuery("mistral-small", "Say hi."), false, stop);
            break;
        case ProviderForm::perplexity: {
            Configuration configuration = tokenConfiguration(apiKey, row.apiEndpoint);
            configuration.apiPath.chats = "/chat/completions";
            chatCheck(configuration, checkQuery("mistral-7b-instruct", "Say hi."), false, stop);
            break;
        }
        case ProviderForm::together:
            chatCheck(tokenConfiguration(apiKey, endpoints_.together),
                      checkQuery("openchat/openchat-3.5-1210", "Say hi."), false, stop);
            break;
        case ProviderForm::anthropic: {
            AnthropicMessageParameter parameter;
            parameter.model = std::string(anthropic_models::claude3Sonnet);
            parameter.messages = {{"user", "Hello, Claude"}};
            parameter.maxTokens = 1024;
            AnthropicService(http_, apiKey, endpoints_.anthropic).createMessage(parameter, stop);
            break;
        }
        case ProviderForm::googleAI:
            GenerativeModel(http_, row.modelId, apiKey, {}, endpoints_.googleAI)
                .generateContent("Say hi.", stop);
            break;
        case ProviderForm::ollama:
            result.ollamaModels = ollamaModels(row.apiEndpoint, stop);
            break;
        case ProviderForm::openAI:
        case ProviderForm::openAIKeyModal:
            checkOpenAI({"", "", apiKey}, form == ProviderForm::openAIKeyModal, stop);
            break;
        case ProviderForm::custom: {
            CustomModel server = row;
            server.provider = "LocalAI";
            chatCheck(customModelConfiguration(server), checkQuery(row.modelId, "How are you?"),
                      true, stop);
            break;
        }
    }
    return result;
}

std::vector<std::string> ProviderKeyCheck::ollamaModels(const std::string& baseURL,
                                                        std::stop_token stop) const {
    std::vector<std::string> names;
    for (const auto& model : OllamaKit(http_, baseURL).models(stop).models) {
        names.push_back(model.name);
    }
    return names;
}

std::vector<MistralModel> ProviderKeyCheck::mistralModels(const std::string& apiKey,
                                                          std::stop_token stop) const {
    return MistralModelList::fetch(*http_, endpoints_.mistral, apiKey, stop);
}

}  // namespace folvane
