// folvane-cli settings list | get KEY | set KEY VALUE

#include <charconv>
#include <cmath>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <string>

#include "chat/AppChatService.h"
#include "cli/CliContext.h"
#include "store/AppPreferences.h"

namespace folvane {
namespace {

using json = nlohmann::json;

constexpr const char* settingsUsage = "Usage: folvane-cli settings list | get KEY | set KEY VALUE";

const SettingDescriptor& settingOrThrow(const std::string& key) {
    if (const auto* descriptor = findSetting(key)) return *descriptor;
    if (key == AppPreferences::openAIKeyKey) {
        throw UsageError("Unknown setting: " + key + " (the API key is changed with 'key set')");
    }
    throw UsageError("Unknown setting: " + key);
}

std::string joined(const std::vector<std::string>& values) {
    std::string result;
    for (const auto& value : values) result += (result.empty() ? "" : ", ") + value;
    return result;
}

UsageError invalidValue(const SettingDescriptor& setting, const std::string& expected) {
    return UsageError("Invalid value for " + setting.key + ": expected " + expected);
}

template <typename Integer>
Integer parseInteger(const SettingDescriptor& setting, const std::string& text) {
    Integer number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error == std::errc::result_out_of_range) {
        throw invalidValue(
            setting, "an integer from " + std::to_string(std::numeric_limits<Integer>::min()) +
                         " to " + std::to_string(std::numeric_limits<Integer>::max()));
    }
    if (error != std::errc() || end != text.data() + text.size()) {
        throw invalidValue(setting, "an integer");
    }
    return number;
}

// The text of the command line as a value of the setting's type.
json parseValue(const SettingDescriptor& setting, const std::string& text) {
    switch (setting.type) {
        case SettingType::boolean:
            if (text == "true") return true;
            if (text == "false") return false;
            throw invalidValue(setting, "true or false");
        case SettingType::integer:
            return parseInteger<int>(setting, text);
        case SettingType::integer64:
            return parseInteger<int64_t>(setting, text);
        case SettingType::real: {
            double number = 0;
            const auto [end, error] =
                std::from_chars(text.data(), text.data() + text.size(), number);
            if (error != std::errc() || end != text.data() + text.size() ||
                !std::isfinite(number)) {
                throw invalidValue(setting, "a number");
            }
            return number;
        }
        case SettingType::text:
            return text;
        case SettingType::optionalText:
            // No family is called "", so the empty string clears the setting.
            if (text.empty()) return nullptr;
            return text;
        case SettingType::choice:
            for (const auto& raw : setting.choices) {
                if (raw == text) return text;
            }
            throw invalidValue(setting, "one of " + joined(setting.choices));
        case SettingType::catalogue: {
            auto parsed = json::parse(text, nullptr, false);
            if (parsed.is_discarded() || !parsed.is_array()) {
                throw invalidValue(setting, "a JSON array");
            }
            return parsed;
        }
    }
    throw invalidValue(setting, "a value");
}

// The words for a number outside the values its setting can take.
std::string rangeText(const SettingDescriptor& setting, const SettingRange& range) {
    const bool whole = setting.type != SettingType::real;
    const auto number = [](double value) {
        std::string text = json(value).dump();
        if (text.size() > 2 && text.ends_with(".0")) text.resize(text.size() - 2);
        return text;
    };
    const std::string kind = whole ? "an integer" : "a number";
    if (std::isinf(range.maximum)) return kind + " of at least " + number(range.minimum);
    return kind + " from " + number(range.minimum) + " to " + number(range.maximum);
}

// A value of the right type that the setting can never use is refused here,
// with the range it must be in.
void expectInRange(const SettingDescriptor& setting, const json& value) {
    if (value.is_null() || acceptedValue(setting, value)) return;
    if (const auto range = settingRange(setting.id))
        throw invalidValue(setting, rangeText(setting, *range));
    throw invalidValue(setting, "a value");
}

// A value as `get` prints it: strings bare, an absent string as nothing.
std::string plainText(const json& value) {
    if (value.is_string()) return value.get<std::string>();
    if (value.is_null()) return "";
    return value.dump();
}

}  // namespace

int runSettingsCommand(CliContext& context, const CliArguments& args) {
    if (args.empty()) throw UsageError(settingsUsage);
    const std::string& action = args[0];

    if (action == "list") {
        if (args.size() != 1) throw UsageError(settingsUsage);
        auto& preferences = context.preferences();
        // One line per setting: values as JSON, so strings with spaces, newlines
        // or nothing at all stay readable.
        for (const auto& setting : settingDescriptors()) {
            context.out() << setting.key << " = " << preferences.value(setting.id).dump() << '\n';
        }
        return 0;
    }
    if (action == "get") {
        if (args.size() != 2) throw UsageError("Usage: folvane-cli settings get KEY");
        const auto& setting = settingOrThrow(args[1]);
        context.out() << plainText(context.preferences().value(setting.id)) << '\n';
        return 0;
    }
    if (action == "set") {
        if (args.size() != 3) throw UsageError("Usage: folvane-cli settings set KEY VALUE");
        const auto& setting = settingOrThrow(args[1]);
        const json value = parseValue(setting, args[2]);
        expectInRange(setting, value);
        if ((setting.id == Setting::customModelId || setting.id == Setting::embeddingModelId) &&
            value.get<int64_t>() != 0 && !context.service().getCustomModel(value.get<int64_t>())) {
            throw std::runtime_error("There is no custom model with the id " + args[2] + ".");
        }
        auto& preferences = context.preferences();
        // A value that cannot be written throws with words that say it was not saved.
        preferences.setValue(setting.id, value);
        context.out() << setting.key << " = " << preferences.value(setting.id).dump() << '\n';
        return 0;
    }
    throw UsageError("Unknown settings action: " + action + "\n" + settingsUsage);
}

}  // namespace folvane
