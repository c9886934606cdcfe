#include "chat/ClientRouter.h"

#include <array>
#include <string_view>

#include "chat/AppChatServiceError.h"
#include "providers/OpenAI.h"
#include "providers/OpenAISettings.h"
#include "providers/ProviderConfigurationError.h"
#include "providers/TokenHelper.h"
#include "store/AppPreferences.h"

namespace folvane {

namespace {

// The providers a chat can go to. "OpenAI" as a custom model, the Anthropic
// and Google providers and anything unknown are refused.
bool chatCanUse(std::string_view provider) {
    static constexpr std::array<std::string_view, 8> providers{
        "AzureOpenAI", "OpenRouter", "MistralAI", "PerplexityAI",
        "TogetherAI",  "Groq",       "Ollama",    "LocalAI"};
    return std::find(providers.begin(), providers.end(), provider) != providers.end();
}

// A provider's configuration, its failure in the chat service's words.
template <typename Make>
Configuration configured(Make make) {
    try {
        return make();
    } catch (const ProviderConfigurationError& error) {
        using Case = ProviderConfigurationError::Case;
        switch (error.errorCase()) {
            case Case::unusableSettings:
                throw AppChatServiceError(AppChatServiceError::Case::initError);
            case Case::apiKeyMissing:
                throw AppChatServiceError(AppChatServiceError::Case::apiKeyMissing);
            case Case::unsupportedProvider:
                throw AppChatServiceError(AppChatServiceError::Case::unsupportedApiProvider);
        }
        throw;
    }
}

}  // namespace

ClientRouter::ClientRouter(const AppPreferences& preferences, CustomModelHelper customModels,
                           CustomModelSecrets secrets, HttpClientFactory makeHttpClient)
    : preferences_(preferences),
      customModelHelper_(std::move(customModels)),
      secrets_(secrets),
      makeHttpClient_(std::move(makeHttpClient)) {}

std::shared_ptr<OpenAI> ClientRouter::builtInClient(bool requireKey) {
    std::lock_guard lock(mutex_);
    if (auto found = openAIClients_.find(0); found != openAIClients_.end()) return found->second;
    const OpenAISettings settings{preferences_.customHost(), preferences_.organizationIdentifier(),
                                  preferences_.openAIKey()};
    const Configuration configuration = configured([&] {
        return requireKey ? defaultClientConfiguration(settings) : builtInConfiguration(settings);
    });
    auto client = std::make_shared<OpenAI>(makeHttpClient_(), configuration);
    openAIClients_[0] = client;
    return client;
}

std::optional<CustomModel> ClientRouter::customModelOf(const Conversation& conversation) {
    const int64_t id = conversation.customModelId;
    if (id < 1) return std::nullopt;
    std::optional<CustomModel> custom;
    {
        std::lock_guard lock(mutex_);
        if (auto cached = customModels_.find(id); cached != customModels_.end()) {
            custom = cached->second;
        }
    }
    if (!custom) custom = customModelHelper_.find(id);
    if (!custom) throw AppChatServiceError(AppChatServiceError::Case::initError);
    if (!chatCanUse(custom->provider)) {
        throw AppChatServiceError(AppChatServiceError::Case::unsupportedApiProvider);
    }
    return custom;
}

int ClientRouter::contextLengthOf(const Conversation& conversation,
                                  const std::optional<CustomModel>& custom) const {
    if (custom && custom->provider == "MistralAI") return 8000;
    if (custom && (custom->provider == "Ollama" || custom->provider == "LocalAI")) {
        return custom->contextLength;
    }
    return tokenLimit(conversation.model, custom ? custom->provider : "OpenAI",
                      preferences_.openRouterModels());
}

int ClientRouter::contextLength(const Conversation& conversation) {
    return contextLengthOf(conversation, customModelOf(conversation));
}

ClientRouter::Route ClientRouter::resolveClient(const Conversation& conversation) {
    Route route;
    route.customModel = customModelOf(conversation);
    route.contextLength = contextLengthOf(conversation, route.customModel);
    if (!route.customModel) {
        route.client = builtInClient(false);
        return route;
    }
    secrets_.fill(*route.customModel);
    route.client = std::make_shared<OpenAI>(makeHttpClient_(), configured([&] {
                                                return customModelConfiguration(*route.customModel);
                                            }));
    return route;
}

std::shared_ptr<OpenAI> ClientRouter::defaultClient() {
    return builtInClient(true);
}

void ClientRouter::clearCaches() {
    std::lock_guard lock(mutex_);
    openAIClients_.clear();
    customModels_.clear();
}

}  // namespace folvane
