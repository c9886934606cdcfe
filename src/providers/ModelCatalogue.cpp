#include "providers/ModelCatalogue.h"

#include "providers/ModelNames.h"
#include "providers/TogetherModels.h"

namespace folvane {

namespace model_lists {

const std::vector<std::string>& openAISpecificVersions() {
    static const std::vector<std::string> list{
        "gpt-4-0613",         "gpt-4-32k-0613",     "gpt-4-0125-preview",    "gpt-4-1106-preview",
        "gpt-3.5-turbo-1106", "gpt-3.5-turbo-0613", "gpt-3.5-turbo-16k-0613"};
    return list;
}

const std::vector<std::string>& openAIGPT4() {
    static const std::vector<std::string> list{"gpt-4-turbo-preview", "gpt-4", "gpt-4-32k"};
    return list;
}

const std::vector<std::string>& openAIGPT3() {
    static const std::vector<std::string> list{"gpt-3.5-turbo-0125", "gpt-3.5-turbo-1106",
                                               "gpt-3.5-turbo", "gpt-3.5-turbo-16k"};
    return list;
}

const std::vector<std::string>& perplexity() {
    static const std::vector<std::string> list{"codellama-34b-instruct", "llama-2-70b-chat",
                                               "mistral-7b-instruct",    "mixtral-8x7b-instruct",
                                               "pplx-7b-chat",           "pplx-70b-chat",
                                               "pplx-7b-online",         "pplx-70b-online"};
    return list;
}

const std::vector<std::string>& mistral() {
    static const std::vector<std::string> list{"mistral-tiny", "mistral-small", "mistral-medium",
                                               "mistral-large-latest"};
    return list;
}

const std::vector<std::string>& groq() {
    static const std::vector<std::string> list{"llama2-70b-4096", "mixtral-8x7b-32768"};
    return list;
}

const std::vector<std::string>& openRouterFallback() {
    static const std::vector<std::string> list{"openai/gpt-3.5-turbo",
                                               "openai/gpt-3.5-turbo-16k",
                                               "openai/gpt-4",
                                               "openai/gpt-4-32k",
                                               "anthropic/claude-2",
                                               "anthropic/claude-instant-v1",
                                               "google/palm-2-chat-bison",
                                               "google/palm-2-codechat-bison",
                                               "meta-llama/llama-2-13b-chat",
                                               "meta-llama/llama-2-70b-chat",
                                               "openai/gpt-3.5-turbo-0301",
                                               "openai/gpt-4-0314"};
    return list;
}

}  // namespace model_lists

namespace {

// The string values under `key` of a catalogue's entries, in order.
std::vector<std::string> catalogueField(const nlohmann::json& catalogue, const char* key) {
    std::vector<std::string> models;
    if (!catalogue.is_array()) return models;
    for (const auto& entry : catalogue) {
        if (!entry.is_object()) continue;
        const auto it = entry.find(key);
        if (it != entry.end() && it->is_string() && !it->get<std::string>().empty()) {
            models.push_back(it->get<std::string>());
        }
    }
    return models;
}

std::vector<ModelSection> plain(std::vector<std::string> models) {
    if (models.empty()) return {};
    return {ModelSection{"", std::move(models)}};
}

}  // namespace

std::vector<ModelSection> chatModelChoices(std::string_view provider,
                                           const nlohmann::json& openRouterModels,
                                           const nlohmann::json& ollamaModels) {
    if (provider == providers::openAI) {
        return {ModelSection{"GPT-4", model_lists::openAIGPT4()},
                ModelSection{"GPT-3", model_lists::openAIGPT3()},
                ModelSection{"Specific Version", model_lists::openAISpecificVersions()}};
    }
    if (provider == providers::openRouter) {
        auto models = catalogueField(openRouterModels, "id");
        return plain(models.empty() ? model_lists::openRouterFallback() : std::move(models));
    }
    if (provider == providers::mistralAI) return plain(model_lists::mistral());
    if (provider == providers::perplexityAI) return plain(model_lists::perplexity());
    if (provider == providers::groq) return plain(model_lists::groq());
    if (provider == providers::ollama) return plain(catalogueField(ollamaModels, "name"));
    if (provider == providers::togetherAI) {
        std::vector<std::string> models;
        for (const auto& model : togetherModels()) models.emplace_back(model.id);
        return plain(std::move(models));
    }
    return {};
}

}  // namespace folvane
