// folvane-cli key set [--no-check] | clear | status
//
// The key is read from standard input, never from the command line, where it
// would be seen by other processes and kept in the shell's history. `set`
// checks it first as the OpenAI settings form does (with the customHost and
// organization when a host is set), through the same view model, and stores
// it only when the check passes; --no-check stores it as it is.

#include <chrono>
#include <iostream>
#include <string>

#include "cli/CliArguments.h"
#include "cli/CliContext.h"
#include "conversation/ProviderFormViewModel.h"
#include "store/AppPreferences.h"

namespace folvane {
namespace {

constexpr const char* keyUsage = "Usage: folvane-cli key set [--no-check] | clear | status";

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return "";
    const auto last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

// Runs the OpenAI form's check on the key, which stores it when it passes.
// Throws the check's words when it fails.
void checkAndStore(CliContext& context, const std::string& key) {
    auto& preferences = context.preferences();
    ProviderFormFields fields;
    fields.apiKey = key;
    fields.apiEndpoint = preferences.customHost();
    fields.organizationIdentifier = preferences.organizationIdentifier();
    fields.temperature = preferences.defaultTemperature();
    const auto form = context.core().makeProviderForm(ProviderForm::openAI);
    form->trigger(provider_form_input::CheckAndSave{fields});
    const ProviderFormState& state = form->state();
    // The check's own requests time out after 60 seconds.
    context.mainQueue().runUntil([&] { return !state.isCheckingAPIKey; }, std::chrono::minutes(3));
    if (state.isCheckingAPIKey) throw std::runtime_error("The check did not finish.");
    if (state.showQuotaAlert) {
        throw std::runtime_error(
            "Error: You exceeded your current quota, please check your plan and billing "
            "details.");
    }
    if (!state.errorMessage.empty()) throw std::runtime_error(state.errorMessage);
}

int setKey(CliContext& context, bool check) {
    auto& preferences = context.preferences();
    if (!preferences.isSecretStoreAvailable()) {
        context.err() << "No Secret Service is reachable, so the key cannot be kept: it would "
                         "be lost when this command ends. Start a Secret Service (for example "
                         "gnome-keyring) and try again.\n";
        return 1;
    }
    std::string line;
    std::getline(std::cin, line);
    const std::string key = trimmed(line);
    if (key.empty()) {
        context.err() << "No key given: write the key on standard input, for example\n"
                         "  folvane-cli key set < file-with-the-key\n";
        return 1;
    }
    if (check) {
        checkAndStore(context, key);
        context.out() << "The key works.\n";
    } else {
        preferences.setOpenAIKey(key);
    }
    if (!preferences.waitForSecretWrites()) {
        context.err() << "The Secret Service did not store the key.\n";
        return 1;
    }
    context.out() << "Key stored in " << preferences.secretStoreLocation() << ".\n";
    return 0;
}

int clearKey(CliContext& context) {
    auto& preferences = context.preferences();
    preferences.setOpenAIKey("");
    if (!preferences.waitForSecretWrites()) {
        context.err() << "The Secret Service did not remove the key.\n";
        return 1;
    }
    if (!preferences.isSecretStoreAvailable()) {
        context.out() << "No Secret Service is reachable; no key is kept.\n";
        return 0;
    }
    context.out() << "Key removed from " << preferences.secretStoreLocation() << ".\n";
    return 0;
}

int keyStatus(CliContext& context) {
    auto& preferences = context.preferences();
    context.out() << "OpenAI API key: " << (preferences.openAIKey().empty() ? "not set" : "set")
                  << '\n'
                  << "Kept in: " << preferences.secretStoreLocation() << '\n';
    return 0;
}

}  // namespace

int runKeyCommand(CliContext& context, const CliArguments& args) {
    if (args.empty()) throw UsageError(keyUsage);
    const std::string& action = args[0];
    if (action == "set") {
        CliArguments rest(args.begin() + 1, args.end());
        const bool noCheck = takeFlag(rest, "--no-check");
        if (!rest.empty()) {
            throw UsageError(
                "key set takes no argument but --no-check: it reads the key from standard "
                "input, so that the key stays out of the shell's history");
        }
        return setKey(context, !noCheck);
    }
    if (args.size() != 1) throw UsageError(keyUsage);
    if (action == "clear") return clearKey(context);
    if (action == "status") return keyStatus(context);
    throw UsageError("Unknown key action: " + action + "\n" + keyUsage);
}

}  // namespace folvane
