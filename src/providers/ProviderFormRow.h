#pragma once

#include <string>

#include "providers/ProviderForm.h"
#include "store/CustomModel.h"

namespace folvane {

// What a provider's form holds when its save button is pressed.
struct ProviderFormValues {
    std::string name;
    // The endpoint, base URL or host, as the form's field calls it.
    std::string apiEndpoint;
    // The key to check and save: trimmed, or the saved one; empty for none.
    std::string apiKey;
    std::string modelId;
    // As typed; empty for a form without the field (the row's value stays).
    std::string contextLength;
    bool useStream = true;
};

// The row that a form's save writes, the same row its check is made from.
struct ProviderFormRow {
    // The key in the form's key header ("x-api-key" for Anthropic, else
    // "api-key"); the row's other headers kept.
    CustomModel row;
    // What the form's validation reads: the context length as text and the
    // endpoint or base URL it checks.
    std::string contextText;
    std::string validatedEndpoint;
};

// The header that carries a form's key; empty for Ollama, which has none.
std::string providerKeyHeader(ProviderForm form);

// The row a form saves over `current`, as each form fills it: Azure and
// OpenRouter take the context length of their model, OpenRouter and Together
// their fixed endpoint, Mistral and Perplexity "https://" and the host...
ProviderFormRow providerFormRow(ProviderForm form, const CustomModel& current,
                                const ProviderFormValues& values,
                                const ProviderEndpoints& endpoints);

}  // namespace folvane
