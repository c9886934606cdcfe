#include "providers/CustomModelFormCheck.h"

#include <charconv>

#include "providers/ModelNames.h"
#include "providers/URLText.h"

namespace folvane {

namespace {

constexpr std::string_view chatCompletions = "/chat/completions";

// The endpoint splits at its first "/chat/completions" into a base URL and the
// path, as the client splits it.
bool splitsAtChatCompletions(std::string_view endpoint) {
    const size_t at = endpoint.find(chatCompletions);
    return at != std::string_view::npos && at > 0;
}

}  // namespace

std::optional<int> CustomModelFormCheck::parseContextLength(std::string_view text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::string> CustomModelFormCheck::problem(std::string_view provider,
                                                         std::string_view name,
                                                         std::string_view apiEndpoint,
                                                         std::string_view contextLength) {
    const bool urlParses = isValidURL(apiEndpoint);
    const bool contextParses = parseContextLength(contextLength).has_value();

    if (provider == providers::azureOpenAI) {
        if (!urlParses) return "no context length / api endpoint";
        if (!splitsAtChatCompletions(apiEndpoint)) return "invalid end point";
        if (!contextParses) return "no context length / api endpoint";
        return std::nullopt;
    }
    if (provider == providers::openRouter) {
        if (!urlParses) return "invalid end point";
        return std::nullopt;
    }
    if (provider == providers::ollama) {
        if (name.empty()) return "no name";
        if (!contextParses) return "no context length";
        if (!urlParses) return "no context length / api endpoint";
        return std::nullopt;
    }
    if (provider == providers::groq || provider == providers::mistralAI ||
        provider == providers::perplexityAI || provider == providers::togetherAI) {
        if (!urlParses || !contextParses) return "no context length / api endpoint";
        return std::nullopt;
    }
    if (provider == providers::googleAI || provider == providers::anthropicAI) {
        if (!contextParses) return "no context length / api endpoint";
        return std::nullopt;
    }
    // The form of an OpenAI-compatible server, and of any other provider.
    if (name.empty()) return "no name";
    if (!urlParses || !splitsAtChatCompletions(apiEndpoint)) return "invalid endpoint";
    if (!contextParses) return "no context length / api endpoint";
    return std::nullopt;
}

}  // namespace folvane
