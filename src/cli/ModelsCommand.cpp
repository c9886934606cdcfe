// folvane-cli models list [--json] | add PROVIDER [OPTIONS] | check ID [--api-key-stdin]
//                  | default ID | remove ID
//
// Drives the same custom-model and provider-form view models as the settings'
// Models tab: `check` runs the row's form check and saves the row only when
// it passes. An API key is read from standard input (--api-key-stdin), never
// from the command line. It goes into the model's "api-key" header, as the settings forms put
// it, and from there into the Secret Service: the database keeps the header
// with an empty value. Listings show header names only.

#include <algorithm>
#include <cctype>
#include <chrono>
#include <iomanip>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>

#include "chat/AppChatService.h"
#include "cli/CliArguments.h"
#include "conversation/CustomModelListViewModel.h"
#include "conversation/ProviderFormViewModel.h"
#include "providers/CustomModelDefaults.h"
#include "providers/CustomModelFormCheck.h"
#include "providers/ModelNames.h"
#include "providers/TokenHelper.h"
#include "store/AppPreferences.h"
#include "store/CustomModelSecrets.h"

namespace folvane {
namespace {

namespace list_input = custom_model_list_input;
using ModelRef = AnyViewModel<CustomModelDetailState, CustomModelDetailInput>;

constexpr const char* modelsUsage =
    "Usage: folvane-cli models list [--json]\n"
    "       folvane-cli models add PROVIDER [--name NAME] [--endpoint URL] [--model ID]\n"
    "                   [--context N] [--header KEY=VALUE]... [--api-key-stdin] [--no-stream]\n"
    "       folvane-cli models check ID [--api-key-stdin]\n"
    "                   (check the key or endpoint with the provider; saves the model when it "
    "works)\n"
    "       folvane-cli models default ID      (0: OpenAI with the stored key)\n"
    "       folvane-cli models remove ID";

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return "";
    const auto last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

// The providers of the Add menu, then the two whose forms the menu does not
// offer.
std::vector<std::pair<std::string, std::string>> knownProviders() {
    std::vector<std::pair<std::string, std::string>> known;
    for (auto provider : CustomModelDefaults::addableProviders()) {
        known.emplace_back(provider, CustomModelDefaults::addMenuTitle(provider));
    }
    known.emplace_back(providers::anthropicAI, "Anthropic");
    known.emplace_back(providers::googleAI, "Google AI");
    return known;
}

// A provider by its raw value, in any case ("localai", "Ollama").
std::string parseProvider(const std::string& text) {
    const auto known = knownProviders();
    for (const auto& [provider, title] : known) {
        if (lowered(provider) == lowered(text)) return provider;
    }
    std::string names;
    for (const auto& [provider, title] : known) names += "\n  " + provider + " (" + title + ")";
    throw UsageError("Unknown provider: " + text + ". The providers are:" + names);
}

std::vector<std::string> takeRepeatedOption(CliArguments& args, const std::string& option) {
    std::vector<std::string> values;
    while (auto value = takeOption(args, option)) values.push_back(*value);
    return values;
}

int64_t parseModelId(const std::string& text) {
    if (text == "0") return 0;
    return parseId(text, "model id");
}

std::optional<ModelRef> findModel(const CustomModelListViewModel& list, int64_t id) {
    for (const auto& model : list.state().models) {
        if (model.id() == id) return model;
    }
    return std::nullopt;
}

std::string headerNames(const CustomModel& model) {
    std::string names;
    for (const auto& header : model.headers.value_or(std::vector<CustomModelHeaderEntry>{})) {
        if (!names.empty()) names += ",";
        names += header.key;
    }
    return names;
}

int listModels(CliContext& context, CustomModelListViewModel& list, CliArguments args) {
    const bool json = takeFlag(args, "--json");
    expectNoMoreArguments(args, 0);
    const int64_t defaultId = context.preferences().customModelId();
    auto& out = context.out();
    if (json) {
        for (const auto& ref : list.state().models) {
            const CustomModel& model = ref.state().model;
            nlohmann::ordered_json row;
            row["id"] = ref.id();
            row["provider"] = model.provider;
            row["name"] = model.name;
            row["endpoint"] = model.apiEndpoint;
            row["model"] = model.modelId;
            row["context"] = model.contextLength;
            row["stream"] = model.useStream;
            auto headers = nlohmann::json::array();
            for (const auto& header : model.headers.value_or(std::vector<CustomModelHeaderEntry>{}))
                headers.push_back(header.key);
            row["headers"] = headers;
            row["default"] = ref.id() == defaultId;
            out << row.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
        }
        return 0;
    }
    out << (defaultId == 0 ? "* " : "  ") << std::left << std::setw(5) << "0"
        << "OpenAI (built in)\n";
    for (const auto& ref : list.state().models) {
        const CustomModel& model = ref.state().model;
        out << (ref.id() == defaultId ? "* " : "  ") << std::left << std::setw(5) << ref.id()
            << model.name << "  [" << providerDisplayName(model.provider) << "]  model "
            << (model.modelId.empty() ? "(none)" : modelDisplayName(model.modelId, model.provider))
            << "  endpoint " << (model.apiEndpoint.empty() ? "(none)" : model.apiEndpoint)
            << "  context " << model.contextLength;
        if (const auto names = headerNames(model); !names.empty()) out << "  headers " << names;
        out << '\n';
    }
    out << "* the default for new chats\n";
    return 0;
}

int addModel(CliContext& context, CustomModelListViewModel& list, CliArguments args) {
    if (args.empty()) throw UsageError(std::string("models add needs a provider\n") + modelsUsage);
    const auto name = takeOption(args, "--name");
    const auto endpoint = takeOption(args, "--endpoint");
    const auto modelId = takeOption(args, "--model");
    const auto contextText = takeOption(args, "--context");
    const auto headerTexts = takeRepeatedOption(args, "--header");
    const bool keyFromStdin = takeFlag(args, "--api-key-stdin");
    const bool noStream = takeFlag(args, "--no-stream");
    const std::string provider = parseProvider(args.front());
    expectNoMoreArguments(args, 1);

    // The fields as the provider's form would hold them before it saves.
    const CustomModel row = CustomModelDefaults::newRow(provider);
    custom_model_input::Save fields;
    fields.name = name.value_or(row.name);
    std::string formEndpoint = CustomModelDefaults::formEndpoint(provider);
    fields.apiEndpoint = endpoint.value_or(formEndpoint.empty() ? row.apiEndpoint : formEndpoint);
    fields.modelId = modelId.value_or(CustomModelDefaults::formModelId(provider));
    std::string contextField;
    if (contextText) {
        contextField = *contextText;
    } else if (provider == providers::azureOpenAI || provider == providers::openRouter) {
        contextField = std::to_string(tokenLimit(fields.modelId, "OpenAI"));
    } else {
        contextField = std::to_string(row.contextLength);
    }
    fields.useStream = !noStream;
    bool hasKey = keyFromStdin;
    for (const auto& text : headerTexts) {
        const auto equals = text.find('=');
        if (equals == std::string::npos || equals == 0) {
            throw UsageError("A header is KEY=VALUE: " + text);
        }
        fields.headers.push_back({text.substr(0, equals), text.substr(equals + 1)});
        hasKey = hasKey || CustomModelSecrets::isSecretHeader(fields.headers.back().key);
    }
    // Values that can never work are bad arguments, refused before anything is
    // read or stored. The context length is checked for every provider (the
    // form checks it only for some) before a row is added for it.
    const auto contextLength = CustomModelFormCheck::parseContextLength(contextField);
    if (!contextLength || *contextLength < 1) {
        throw UsageError(
            "The custom model was not saved: the context length must be a whole number of "
            "tokens above 0.");
    }
    fields.contextLength = *contextLength;
    if (auto problem = CustomModelFormCheck::problem(provider, fields.name, fields.apiEndpoint,
                                                     contextField)) {
        throw UsageError("The custom model was not saved: " + *problem + ".");
    }
    // As the settings do, the key is then kept in memory: here, only until the
    // command ends.
    if (hasKey && !context.preferences().isSecretStoreAvailable()) {
        context.err() << "No Secret Service is reachable, so the key is kept in memory only: it "
                         "will be lost when this command ends. Start a Secret Service (for "
                         "example gnome-keyring) and add the model again.\n";
    }
    if (keyFromStdin) {
        std::string line;
        std::getline(std::cin, line);
        const std::string key = trimmed(line);
        if (key.empty()) throw std::runtime_error("No API key on standard input.");
        const std::string keyHeader = provider == providers::anthropicAI ? "x-api-key" : "api-key";
        std::erase_if(fields.headers, [&](const auto& header) { return header.key == keyHeader; });
        fields.headers.push_back({keyHeader, key});
    }

    const size_t before = list.state().models.size();
    list.trigger(list_input::AddNew{provider});
    if (list.state().alert || list.state().models.size() != before + 1) {
        throw std::runtime_error(
            list.state().alert.value_or("The custom model could not be added."));
    }
    ModelRef added = list.state().models.back();
    added.trigger(fields);
    if (added.state().alert || added.state().model.modelId != fields.modelId ||
        added.state().model.apiEndpoint != fields.apiEndpoint) {
        const std::string words =
            added.state().alert.value_or("The custom model could not be saved.");
        // The row made for the form goes with the failed save.
        list.trigger(list_input::Remove{added.id()});
        throw std::runtime_error(words);
    }

    // As after a passing check in the settings: without an OpenAI key and with
    // no other default, the new model becomes the default for new chats.
    auto& preferences = context.preferences();
    if (preferences.customModelId() == 0 && preferences.openAIKey().empty()) {
        preferences.setCustomModelId(added.id());
    }
    preferences.setLastUpdated(std::chrono::system_clock::now());
    context.out() << added.id() << '\n';
    return 0;
}

int checkModel(CliContext& context, CustomModelListViewModel& list, CliArguments args) {
    const bool keyFromStdin = takeFlag(args, "--api-key-stdin");
    if (args.empty())
        throw UsageError(std::string("models check needs a model id\n") + modelsUsage);
    expectNoMoreArguments(args, 1);
    const int64_t id = parseId(args[0], "model id");
    const auto ref = findModel(list, id);
    if (!ref) {
        throw std::runtime_error("There is no custom model with the id " + std::to_string(id) +
                                 ".");
    }
    const CustomModel& model = ref->state().model;

    // The fields as the row's form shows them; an empty key keeps the saved one.
    ProviderFormFields fields;
    fields.name = model.name;
    fields.apiEndpoint = model.apiEndpoint;
    fields.modelId = model.modelId;
    fields.contextLength = std::to_string(model.contextLength);
    fields.useStream = model.useStream;
    if (keyFromStdin) {
        std::string line;
        std::getline(std::cin, line);
        fields.apiKey = trimmed(line);
        if (fields.apiKey.empty()) throw std::runtime_error("No API key on standard input.");
        if (!context.preferences().isSecretStoreAvailable()) {
            context.err() << "No Secret Service is reachable, so the key is kept in memory only: "
                             "it will be lost when this command ends.\n";
        }
    }

    const auto form = context.core().makeProviderForm(model);
    form->trigger(provider_form_input::CheckAndSave{fields});
    const ProviderFormState& state = form->state();
    if (state.validationProblem) {
        throw std::runtime_error("The custom model was not checked: " + *state.validationProblem +
                                 ".");
    }
    if (!state.isCheckingAPIKey) {
        throw std::runtime_error(
            "The model has no API key: give one on standard input with --api-key-stdin.");
    }
    // The check's own requests time out after 60 seconds.
    context.mainQueue().runUntil([&] { return !form->state().isCheckingAPIKey; },
                                 std::chrono::minutes(3));
    if (state.isCheckingAPIKey) throw std::runtime_error("The check did not finish.");
    if (state.showQuotaAlert) {
        throw std::runtime_error(
            "Error: You exceeded your current quota, please check your plan and billing "
            "details.");
    }
    if (!state.errorMessage.empty()) throw std::runtime_error(state.errorMessage);
    context.out() << (state.form == ProviderForm::ollama ? "The endpoint works." : "The key works.")
                  << '\n';
    return 0;
}

int setDefault(CliContext& context, CustomModelListViewModel& list, const CliArguments& args) {
    if (args.empty()) throw UsageError("models default needs a model id (0 for OpenAI)");
    expectNoMoreArguments(args, 1);
    const int64_t id = parseModelId(args[0]);
    if (id != 0 && !findModel(list, id)) {
        throw std::runtime_error("There is no custom model with the id " + std::to_string(id) +
                                 ".");
    }
    context.preferences().setCustomModelId(id);
    return 0;
}

int removeModel(CustomModelListViewModel& list, const CliArguments& args) {
    if (args.empty()) throw UsageError("models remove needs a model id");
    expectNoMoreArguments(args, 1);
    const int64_t id = parseId(args[0], "model id");
    if (!findModel(list, id)) {
        throw std::runtime_error("There is no custom model with the id " + std::to_string(id) +
                                 ".");
    }
    list.trigger(list_input::Remove{id});
    if (list.state().alert || findModel(list, id)) {
        throw std::runtime_error(list.state().alert.value_or("Failed to delete the custom model."));
    }
    return 0;
}

}  // namespace

int runModelsCommand(CliContext& context, const CliArguments& arguments) {
    if (arguments.empty()) throw UsageError(modelsUsage);
    const std::string action = arguments.front();
    const CliArguments rest(arguments.begin() + 1, arguments.end());

    const auto made = context.core().makeCustomModelList();
    CustomModelListViewModel& list = *made;
    list.trigger(list_input::Sync{});
    if (const auto& alert = list.state().alert) throw std::runtime_error(*alert);
    if (action == "list") return listModels(context, list, rest);
    if (action == "add") return addModel(context, list, rest);
    if (action == "check") return checkModel(context, list, rest);
    if (action == "default") return setDefault(context, list, rest);
    if (action == "remove") return removeModel(list, rest);
    throw UsageError(modelsUsage);
}

}  // namespace folvane
