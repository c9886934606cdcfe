#pragma once

#include <string>

#include "providers/Configuration.h"
#include "store/CustomModel.h"

namespace folvane {

// The OpenAI settings that the built-in route reads.
struct OpenAISettings {
    std::string customHost;
    std::string organizationIdentifier;
    std::string apiKey;
};

namespace provider_endpoints {
inline constexpr const char* groq = "https://api.groq.com";
// Sent as HTTP-Referer to the providers that ask who calls.
inline constexpr const char* productWebAddress = "https://folvane.app";
inline constexpr const char* productTitle = "Folvane";
}  // namespace provider_endpoints

// The built-in route (no custom model): the OpenAI public endpoint with the
// key, or, with a custom host, that host with the key and the organization
// identifier (sent only when not empty). 60 seconds.
Configuration builtInConfiguration(const OpenAISettings& settings);

// The same for the default client of speech and transcription; throws
// ProviderConfigurationError apiKeyMissing when the key is empty.
Configuration defaultClientConfiguration(const OpenAISettings& settings);

// The configuration of a custom model, by its provider. Throws
// ProviderConfigurationError unusableSettings for an endpoint or key it
// cannot use, and unsupportedProvider for a provider this client does not
// speak.
Configuration customModelConfiguration(const CustomModel& model);

}  // namespace folvane
