#include "providers/OpenAISettings.h"

#include <cctype>
#include <optional>

#include "providers/ProviderConfigurationError.h"
#include "providers/URLText.h"

namespace folvane {

namespace {

constexpr std::string_view chatCompletionsPath = "/chat/completions";

[[noreturn]] void fail(ProviderConfigurationError::Case errorCase) {
    throw ProviderConfigurationError(errorCase);
}

// The value of the last entry whose key is exactly "api-key".
std::optional<std::string> headerToken(const CustomModel& model) {
    std::optional<std::string> token;
    if (!model.headers) return token;
    for (const auto& entry : model.headers.value()) {
        if (entry.key == "api-key") token = entry.value;
    }
    return token;
}

std::map<std::string, std::string> allEntries(const CustomModel& model) {
    std::map<std::string, std::string> headers;
    if (!model.headers) return headers;
    for (const auto& entry : model.headers.value()) headers[entry.key] = entry.value;
    return headers;
}

// Sets a header, dropping entries that differ from it only in case.
void replaceHeader(std::map<std::string, std::string>& headers, const std::string& name,
                   const std::string& value) {
    std::erase_if(headers, [&](const auto& entry) {
        const std::string& key = entry.first;
        if (key.size() != name.size()) return false;
        for (size_t i = 0; i < key.size(); ++i) {
            if (std::tolower(static_cast<unsigned char>(key[i])) !=
                std::tolower(static_cast<unsigned char>(name[i]))) {
                return false;
            }
        }
        return true;
    });
    headers[name] = value;
}

Configuration customConfiguration(std::string token, std::string baseURL, std::string chats,
                                  std::map<std::string, std::string> headers) {
    Configuration configuration;
    configuration.token = std::move(token);
    configuration.baseURL = std::move(baseURL);
    configuration.apiPath.chats = std::move(chats);
    configuration.customHeaders = std::move(headers);
    configuration.timeoutInterval = Configuration::defaultTimeout;
    return configuration;
}

// Azure and LocalAI: the endpoint split at its first "/chat/completions".
Configuration splitEndpoint(const CustomModel& model, std::string token) {
    size_t split = model.apiEndpoint.find(chatCompletionsPath);
    if (split == std::string::npos || split == 0)
        fail(ProviderConfigurationError::Case::unusableSettings);
    std::string base = model.apiEndpoint.substr(0, split);
    if (!isValidURL(base)) fail(ProviderConfigurationError::Case::unusableSettings);
    return customConfiguration(std::move(token), base, model.apiEndpoint.substr(split),
                               allEntries(model));
}

std::string requiredHeaderToken(const CustomModel& model) {
    auto token = headerToken(model);
    if (!model.headers || model.headers->empty() || !token) {
        fail(ProviderConfigurationError::Case::unusableSettings);
    }
    return *token;
}

}  // namespace

Configuration builtInConfiguration(const OpenAISettings& settings) {
    if (settings.customHost.empty()) {
        return Configuration::forHost(settings.apiKey, std::nullopt, Configuration::openAIHost,
                                      Configuration::defaultTimeout);
    }
    std::optional<std::string> organization;
    if (!settings.organizationIdentifier.empty()) organization = settings.organizationIdentifier;
    return Configuration::forHost(settings.apiKey, organization, settings.customHost,
                                  Configuration::defaultTimeout);
}

Configuration defaultClientConfiguration(const OpenAISettings& settings) {
    if (settings.apiKey.empty()) fail(ProviderConfigurationError::Case::apiKeyMissing);
    return builtInConfiguration(settings);
}

Configuration customModelConfiguration(const CustomModel& model) {
    const std::string& provider = model.provider;
    if (provider == "AzureOpenAI") return splitEndpoint(model, "not-needed");
    if (provider == "LocalAI") return splitEndpoint(model, headerToken(model).value_or(""));

    bool knownProvider = provider == "OpenRouter" || provider == "MistralAI" ||
                         provider == "PerplexityAI" || provider == "TogetherAI" ||
                         provider == "Groq" || provider == "Ollama";
    if (!knownProvider) fail(ProviderConfigurationError::Case::unsupportedProvider);
    if (!isValidURL(model.apiEndpoint)) fail(ProviderConfigurationError::Case::unusableSettings);

    if (provider == "OpenRouter" || provider == "MistralAI") {
        auto headers = allEntries(model);
        replaceHeader(headers, "HTTP-Referer", provider_endpoints::productWebAddress);
        replaceHeader(headers, "X-Title", provider_endpoints::productTitle);
        return customConfiguration(requiredHeaderToken(model), model.apiEndpoint,
                                   "/v1/chat/completions", std::move(headers));
    }
    if (provider == "PerplexityAI") {
        return customConfiguration(requiredHeaderToken(model), model.apiEndpoint,
                                   "/chat/completions", allEntries(model));
    }
    if (provider == "TogetherAI") {
        return customConfiguration(requiredHeaderToken(model), model.apiEndpoint,
                                   "/v1/chat/completions", {});
    }
    if (provider == "Groq") {
        return customConfiguration(requiredHeaderToken(model), provider_endpoints::groq,
                                   "/openai/v1/chat/completions", allEntries(model));
    }
    return customConfiguration("not-needed", model.apiEndpoint, "/v1/chat/completions",
                               allEntries(model));
}

}  // namespace folvane
