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

ClientRouter::Route ClientRouter::resolveClient(const Conversation& conversation) {
    const int64_t id = conversation.customModelId;
    std::optional<CustomModel> custom;
    if (id >= 1) {
        std::lock_guard lock(mutex_);
        if (auto cached = customModels_.find(id); cached != customModels_.end()) {
            custom = cached->second;
        }
    }
    if (id >= 1 && !custom) custom = customModelHelper_.find(id);
    if (custom) secrets_.fill(*custom);

    const auto catalogue = preferences_.openRouterModels();
    Route route;
    route.customModel = custom;
    route.contextLength = custom ? tokenLimit(conversation.model, custom->provider, catalogue)
                                 : tokenLimit(conversation.model, "OpenAI", catalogue);

    if (id == 0) {
        route.client = builtInClient(false);
        return route;
    }
    if (!custom) throw AppChatServiceError(AppChatServiceError::Case::initError);
    if (!chatCanUse(custom->provider)) {
        throw AppChatServiceError(AppChatServiceError::Case::unsupportedApiProvider);
    }
    route.client = std::make_shared<OpenAI>(
        makeHttpClient_(), configured([&] { return customModelConfiguration(*custom); }));
    if (custom->provider == "MistralAI") {
        route.contextLength = 8000;
    } else if (custom->provider == "Ollama" || custom->provider == "LocalAI") {
        route.contextLength = custom->contextLength;
    }
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
