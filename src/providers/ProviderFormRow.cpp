#include "providers/ProviderFormRow.h"

#include <algorithm>

#include "providers/CustomModelFormCheck.h"
#include "providers/OpenAISettings.h"
#include "providers/TokenHelper.h"

namespace folvane {

namespace {

// "https://" and the host, unless the field already holds a scheme; the
// default host for an empty field.
std::string withScheme(const std::string& host, const std::string& defaultEndpoint) {
    if (host.empty()) return defaultEndpoint;
    if (host.find("://") != std::string::npos) return host;
    return "https://" + host;
}

void setHeader(std::vector<CustomModelHeaderEntry>& headers, const std::string& key,
               const std::string& value) {
    std::erase_if(headers, [&](const CustomModelHeaderEntry& entry) { return entry.key == key; });
    headers.push_back({key, value});
}

}  // namespace

std::string providerKeyHeader(ProviderForm form) {
    switch (form) {
        case ProviderForm::ollama:
            return "";
        case ProviderForm::anthropic:
            return "x-api-key";
        default:
            return "api-key";
    }
}

ProviderFormRow providerFormRow(ProviderForm form, const CustomModel& current,
                                const ProviderFormValues& values,
                                const ProviderEndpoints& endpoints) {
    ProviderFormRow result;
    CustomModel& row = result.row;
    row = current;
    row.name = values.name;
    row.modelId = values.modelId;
    row.useStream = values.useStream;
    result.contextText =
        values.contextLength.empty() ? std::to_string(current.contextLength) : values.contextLength;

    switch (form) {
        case ProviderForm::azure:
            row.apiEndpoint = values.apiEndpoint;
            result.contextText = std::to_string(tokenLimit(values.modelId, "OpenAI"));
            break;
        case ProviderForm::openRouter:
            row.apiEndpoint = endpoints.openRouter + "/api";
            result.contextText = std::to_string(tokenLimit(values.modelId, "OpenAI"));
            break;
        case ProviderForm::mistral:
            row.apiEndpoint = withScheme(values.apiEndpoint, endpoints.mistral);
            break;
        case ProviderForm::perplexity:
            row.apiEndpoint = withScheme(values.apiEndpoint, endpoints.perplexity);
            break;
        case ProviderForm::together:
            row.apiEndpoint = endpoints.together;
            break;
        case ProviderForm::anthropic:
        case ProviderForm::googleAI:
            // No endpoint field: the row keeps the one it was made with.
            break;
        default:  // Groq, Ollama, the custom server: as typed
            row.apiEndpoint = values.apiEndpoint;
            break;
    }
    result.validatedEndpoint = row.apiEndpoint;

    // A context that does not read keeps the row's value; validation stops
    // such a save before it is written.
    if (auto parsed = CustomModelFormCheck::parseContextLength(result.contextText)) {
        row.contextLength = *parsed;
    }

    std::vector<CustomModelHeaderEntry> headers =
        current.headers.value_or(std::vector<CustomModelHeaderEntry>{});
    const std::string keyHeader = providerKeyHeader(form);
    if (!keyHeader.empty()) {
        if (values.apiKey.empty()) {
            // The custom server's key may be left blank: no key header then.
            std::erase_if(headers, [&](const auto& entry) { return entry.key == keyHeader; });
        } else {
            setHeader(headers, keyHeader, values.apiKey);
        }
    }
    if (form == ProviderForm::openRouter) {
        setHeader(headers, "HTTP-Referer", provider_endpoints::productWebAddress);
        setHeader(headers, "X-Title", provider_endpoints::productTitle);
    }
    row.headers = std::move(headers);
    return result;
}

}  // namespace folvane
