#include "providers/TokenHelper.h"

#include <array>
#include <initializer_list>
#include <string>

#include "providers/TogetherModels.h"

namespace folvane {

namespace {

struct LimitRow {
    std::initializer_list<std::string_view> models;
    int limit;
};

int lookUp(std::initializer_list<LimitRow> rows, std::string_view model, int otherwise) {
    for (const auto& row : rows) {
        for (std::string_view name : row.models) {
            if (name == model) return row.limit;
        }
    }
    return otherwise;
}

int openRouterLimit(std::string_view model, const nlohmann::json& catalogue) {
    if (catalogue.is_array() && !catalogue.empty()) {
        for (const auto& entry : catalogue) {
            if (!entry.is_object()) continue;
            const auto id = entry.find("id");
            if (id == entry.end() || !id->is_string() || id->get_ref<const std::string&>() != model)
                continue;
            const auto length = entry.find("context_length");
            if (length != entry.end() && length->is_number()) return length->get<int>();
            return 4096;
        }
        return 4096;
    }
    return lookUp({{{"openai/gpt-4", "openai/gpt-4-0314"}, 8192},
                   {{"openai/gpt-4-32k"}, 32768},
                   {{"openai/gpt-3.5-turbo-16k"}, 16384},
                   {{"openai/gpt-3.5-turbo", "openai/gpt-3.5-turbo-0301"}, 4096},
                   {{"anthropic/claude-2", "anthropic/claude-instant-v1",
                     "anthropic/claude-instant-v1-100k", "anthropic/claude-v1-100k"},
                    100000},
                   {{"google/palm-2-chat-bison", "google/palm-2-codechat-bison"}, 8000}},
                  model, 4096);
}

int modelLimit(std::string_view model) {
    return lookUp({{{"gpt-4", "gpt-4-0613", "gpt-4-0314"}, 8192},
                   {{"gpt-4-32k", "gpt-4-32k-0613", "gpt-4-32k-0314"}, 32768},
                   {{"gpt-3.5-turbo-16k", "gpt-3.5-turbo-16k-0613", "gpt-3.5-turbo-0301",
                     "gpt-3.5-turbo-1106", "gpt-3.5-turbo-0125"},
                    16384},
                   {{"gpt-3.5-turbo", "gpt-3.5-turbo-0613"}, 4096},
                   {{"gpt-4-1106-preview", "gpt-4-0125-preview", "gpt-4-turbo-preview"}, 128000}},
                  model, 2048);
}

struct PriceRow {
    std::string_view model;
    double input;   // dollars for one token of the prompt
    double output;  // dollars for one token of the reply
};

}  // namespace

int tokenLimit(std::string_view model, std::string_view provider,
               const nlohmann::json& openRouterCatalogue) {
    if (provider == "OpenRouter") return openRouterLimit(model, openRouterCatalogue);
    if (provider == "PerplexityAI") {
        return lookUp({{{"codellama-34b-instruct"}, 16384}, {{"pplx-7b-chat"}, 8192}}, model, 4096);
    }
    if (provider == "Groq") return model == "llama2-70b-4096" ? 4096 : 32768;
    if (provider == "TogetherAI") {
        const auto* row = findTogetherModel(model);
        return row ? row->contextLength : 2048;
    }
    if (provider == "Anthropic" || provider == "AnthropicAI") {
        return lookUp({{{"claude-3-opus-20240229", "claude-3-sonnet-20240229"}, 200000}}, model,
                      100000);
    }
    if (provider == "GoogleAI") return 1000000;
    return modelLimit(model);
}

int tokenLimit(std::string_view model, std::string_view provider) {
    static const nlohmann::json empty = nlohmann::json::array();
    return tokenLimit(model, provider, empty);
}

double tokenPrice(std::string_view model, std::string_view role) {
    static constexpr std::array<PriceRow, 28> rows{{
        {"gpt-3.5-turbo", 0.0000015, 0.000002},
        {"gpt-3.5-turbo-0613", 0.0000015, 0.000002},
        {"gpt-3.5-turbo-0301", 0.0000015, 0.000002},
        {"gpt-3.5-turbo-16k", 0.000003, 0.000004},
        {"gpt-3.5-turbo-16k-0613", 0.000003, 0.000004},
        {"gpt-3.5-turbo-0125", 0.0000005, 0.0000015},
        {"gpt-3.5-turbo-1106", 0.000001, 0.000002},
        {"gpt-4", 0.00003, 0.00006},
        {"gpt-4-0613", 0.00003, 0.00006},
        {"gpt-4-0314", 0.00003, 0.00006},
        {"gpt-4-32k", 0.00006, 0.00012},
        {"gpt-4-32k-0613", 0.00006, 0.00012},
        {"gpt-4-32k-0314", 0.00006, 0.00012},
        {"gpt-4-1106-preview", 0.00001, 0.00003},
        {"gpt-4-0125-preview", 0.00001, 0.00003},
        {"gpt-4-turbo-preview", 0.00001, 0.00003},
        {"openai/gpt-4", 0.00003, 0.00006},
        {"openai/gpt-4-0314", 0.00003, 0.00006},
        {"openai/gpt-4-32k", 0.00006, 0.00012},
        {"openai/gpt-3.5-turbo-16k", 0.000003, 0.000004},
        {"openai/gpt-3.5-turbo", 0.0000015, 0.000002},
        {"openai/gpt-3.5-turbo-0301", 0.0000015, 0.000002},
        {"anthropic/claude-2", 0.00001102, 0.00003268},
        {"anthropic/claude-instant-v1", 0.00000163, 0.00000551},
        {"google/palm-2-chat-bison", 0.000002, 0.000002},
        {"google/palm-2-codechat-bison", 0.000002, 0.000002},
        {"meta-llama/llama-2-13b-chat", 0.000004, 0.000004},
        {"meta-llama/llama-2-70b-chat", 0.000016, 0.000016},
    }};
    for (const auto& row : rows) {
        if (row.model == model) return role == "assistant" ? row.output : row.input;
    }
    return 0.0;
}

}  // namespace folvane
