#include "store/SettingDescriptor.h"

#include <cmath>
#include <limits>
#include <stdexcept>

#include "store/AppColorScheme.h"
#include "store/AppFontLeading.h"
#include "store/CodeBlockColorScheme.h"
#include "store/DataIngestionStrategy.h"
#include "store/OnboardingTourStep.h"

namespace folvane {
namespace {

using json = nlohmann::json;

template <typename Cases>
std::vector<std::string> rawValues(const Cases& cases) {
    std::vector<std::string> result;
    for (auto value : cases) result.emplace_back(rawValue(value));
    return result;
}

std::vector<std::string> codeBlockColorSchemes() {
    std::vector<std::string> result;
    for (std::size_t i = 0; i < codeBlockColorSchemeCount; ++i) {
        result.emplace_back(rawValue(codeBlockColorSchemeAt(i)));
    }
    return result;
}

std::vector<SettingDescriptor> makeDescriptors() {
    using enum Setting;
    constexpr auto stored = SettingKind::stored;
    constexpr auto published = SettingKind::published;
    constexpr auto boolean = SettingType::boolean;
    constexpr auto integer = SettingType::integer;
    constexpr auto integer64 = SettingType::integer64;
    constexpr auto real = SettingType::real;
    constexpr auto text = SettingType::text;
    constexpr auto optionalText = SettingType::optionalText;
    constexpr auto choice = SettingType::choice;
    constexpr auto catalogue = SettingType::catalogue;

    const auto strategies = rawValues(std::array{
        DataIngestionStrategy::local, DataIngestionStrategy::openai, DataIngestionStrategy::smart});
    const auto codeSchemes = codeBlockColorSchemes();

    std::vector<SettingDescriptor> table = {
        {legacyFontSize, "fontSize", published, real, 13.0, {}},
        {textSizeAdjustment, "textSizeAdjustment", published, integer, 0, {}},
        {alwaysOnTop, "alwaysOnTop", published, boolean, false, {}},
        {showPageReferences, "showPageReferences", published, boolean, true, {}},
        {useMarkdown, "useMarkdown", published, boolean, true, {}},
        {useLaTeX, "useLaTeX", published, boolean, false, {}},
        {autoCloseWelcomeWindow, "autoCloseWelcomeWindow", published, boolean, false, {}},
        {customModelId, "customModelId", published, integer64, 0, {}},
        {embeddingModelId, "embeddingModelId", published, integer64, 0, {}},
        {openRouterModels, "openrouterModels", published, catalogue, json::array(), {}},
        {mistralModels, "mistralModels", published, catalogue, json::array(), {}},
        {ollamaModels, "ollamaModels", published, catalogue, json::array(), {}},

        {autoTagIndexedFiles, "autoTagIndexedFiles", stored, boolean, true, {}},
        {autoSuggestQuestions, "autoSuggestQuestions", stored, boolean, true, {}},
        {dataIngestionStrategy, "dataIngestionStrategy", stored, choice, "local", strategies},
        {pageCountThreshold, "pageCountThreshold", stored, integer, 300, {}},
        {colorScheme, "colorScheme", stored, choice, "system", rawValues(allAppColorSchemes)},
        {fontLeading, "fontLeading", stored, choice, "standard", rawValues(allAppFontLeadings)},
        {fontName, "fontName", stored, optionalText, nullptr, {}},
        {codeFontName, "codeFontName", stored, optionalText, nullptr, {}},
        {codeColorSchemeLight, "codeColorSchemeLight", stored, choice, "github", codeSchemes},
        {codeColorSchemeDark, "codeColorSchemeDark", stored, choice, "github-dark", codeSchemes},
        {speechVoice, "speechVoice", stored, text, "alloy", {}},
        {voiceModel, "voiceModel", stored, text, "tts-1", {}},
        {sttLanguageCode, "sttLanguageCode", stored, text, "", {}},
        {autoSendMessageAfterSpeak, "autoSendMessageAfterSpeak", stored, boolean, false, {}},
        {onDeviceSpeech, "onDeviceSpeech", stored, boolean, false, {}},
        {defaultFinderTag, "defaultFinderTag", stored, text, "Blue", {}},
        {useOCRForPDFForms, "useOCRForPDFForms", stored, boolean, true, {}},
        {ocrRecognitionLevel, "ocrRecognitionLevel", stored, text, "accurate", {}},
        {redactEmailAddresses, "redactEmailAddresses", stored, boolean, false, {}},
        {redactCCNumbers, "redactCCNumbers", stored, boolean, true, {}},
        {redactPhoneNumbers, "redactPhoneNumbers", stored, boolean, false, {}},
        {hideMonetaryAmounts, "hideMonetaryAmounts", stored, boolean, false, {}},
        {userInstruction, "userInstruction", stored, text, "", {}},
        {appendUserInstructionToUserMessage,
         "appendUserInstructionToUserMessage",
         stored,
         boolean,
         true,
         {}},
        {defaultTemperature, "defaultTemperature", stored, real, 0.1, {}},
        {defaultModel, "defaultModel", stored, text, "gpt-3.5-turbo", {}},
        {customHost, "openAICustomHost", stored, text, "", {}},
        {organizationIdentifier, "openAIOrganizationIdentifier", stored, text, "", {}},
        {defaultContextLimit, "defaultContextLimit", stored, integer, 5, {}},
        {defaultPresencePenalty, "defaultPresencePenalty", stored, real, 0.0, {}},
        {defaultFrequencyPenalty, "defaultFrequencyPenalty", stored, real, 0.0, {}},
        {indexingParallelTask, "indexingParallelTask", stored, integer, 5, {}},
        {continueLastConversation, "continueLastConversation", stored, boolean, false, {}},
        {onboardingOpened, "onboardingOpened", stored, boolean, false, {}},
        {onboardingSetup, "onboardingSetup", stored, boolean, false, {}},
        {onboardingUsed, "onboardingUsed", stored, boolean, false, {}},
        {onboardingAha, "onboardingAha", stored, boolean, false, {}},
        {onboardingActivated, "onboardingActivated", stored, boolean, false, {}},
        {onboardingTourStep, "onboardingTourStep", stored, choice, "stepZero",
         rawValues(allOnboardingTourSteps)},
        {onboardingTourEnded, "onboardingTourEnded", stored, boolean, false, {}},
        {usageEventsCollector, "usageEventsCollector", stored, text, "", {}},
        {googleSearchEngineId, "googleSearchEngineId", stored, text, "", {}},
        {googleSearchApiKey, "googleSearchApiKey", stored, text, "", {}},
        {openWithFolvane, "openWithFolvane", stored, text, "", {}},
        {embeddingModelURL,
         "embeddingModelURL",
         stored,
         text,
         "https://huggingface.co/sentence-transformers/msmarco-distilbert-base-tas-b/resolve/main/"
         "model.safetensors",
         {}},
        {embeddingModelSHA256, "embeddingModelSHA256", stored, text, "", {}},
    };

    // Settings are looked up by position; a table out of step with the
    // enumeration is a programming error that must not pass silently.
    if (table.size() != settingCount) throw std::logic_error("settings table is incomplete");
    for (std::size_t i = 0; i < table.size(); ++i) {
        if (static_cast<std::size_t>(table[i].id) != i) {
            throw std::logic_error("settings table is out of order at " + table[i].key);
        }
    }
    return table;
}

std::optional<json> acceptedInteger(const json& value, int64_t lowest, int64_t highest) {
    if (value.is_number_integer() && !value.is_number_unsigned()) {
        const auto number = value.get<int64_t>();
        if (number < lowest || number > highest) return std::nullopt;
        return json(number);
    }
    if (value.is_number_unsigned()) {
        const auto number = value.get<uint64_t>();
        if (number > static_cast<uint64_t>(highest)) return std::nullopt;
        return json(static_cast<int64_t>(number));
    }
    if (value.is_number_float()) {
        const double number = value.get<double>();
        // Bounds as doubles: 2^63 is exact, so the comparison is too.
        if (std::trunc(number) != number || number < static_cast<double>(lowest) ||
            number >= -static_cast<double>(std::numeric_limits<int64_t>::min()) ||
            number > static_cast<double>(highest)) {
            return std::nullopt;
        }
        return json(static_cast<int64_t>(number));
    }
    return std::nullopt;
}

std::optional<json> acceptedType(const SettingDescriptor& setting, const json& value);

}  // namespace

std::optional<SettingRange> settingRange(Setting setting) {
    constexpr double unbounded = std::numeric_limits<double>::infinity();
    switch (setting) {
        case Setting::legacyFontSize:
            return SettingRange{1, unbounded};
        case Setting::customModelId:
        case Setting::embeddingModelId:
        case Setting::pageCountThreshold:
        case Setting::defaultContextLimit:
            return SettingRange{0, unbounded};
        case Setting::indexingParallelTask:
            return SettingRange{1, unbounded};
        case Setting::defaultTemperature:
            return SettingRange{0, 2};
        case Setting::defaultPresencePenalty:
        case Setting::defaultFrequencyPenalty:
            return SettingRange{-2, 2};
        default:
            return std::nullopt;
    }
}

const std::vector<SettingDescriptor>& settingDescriptors() {
    static const std::vector<SettingDescriptor> table = makeDescriptors();
    return table;
}

const SettingDescriptor& settingDescriptor(Setting setting) {
    return settingDescriptors()[static_cast<std::size_t>(setting)];
}

const SettingDescriptor* findSetting(std::string_view key) {
    for (const auto& descriptor : settingDescriptors()) {
        if (descriptor.key == key) return &descriptor;
    }
    return nullptr;
}

std::optional<json> acceptedValue(const SettingDescriptor& setting, const json& value) {
    auto accepted = acceptedType(setting, value);
    if (!accepted) return std::nullopt;
    if (const auto range = settingRange(setting.id)) {
        const double number = accepted->get<double>();
        if (number < range->minimum || number > range->maximum) return std::nullopt;
    }
    return accepted;
}

namespace {

std::optional<json> acceptedType(const SettingDescriptor& setting, const json& value) {
    switch (setting.type) {
        case SettingType::boolean:
            if (value.is_boolean()) return value;
            return std::nullopt;
        case SettingType::integer:
            return acceptedInteger(value, std::numeric_limits<int>::min(),
                                   std::numeric_limits<int>::max());
        case SettingType::integer64:
            return acceptedInteger(value, std::numeric_limits<int64_t>::min(),
                                   std::numeric_limits<int64_t>::max());
        case SettingType::real:
            if (value.is_number()) return json(value.get<double>());
            return std::nullopt;
        case SettingType::text:
            if (value.is_string()) return value;
            return std::nullopt;
        case SettingType::optionalText:
            if (value.is_string() || value.is_null()) return value;
            return std::nullopt;
        case SettingType::choice:
            if (!value.is_string()) return std::nullopt;
            for (const auto& raw : setting.choices) {
                if (raw == value.get_ref<const std::string&>()) return value;
            }
            return std::nullopt;
        case SettingType::catalogue:
            if (value.is_array()) return value;
            if (value.is_string()) {
                auto decoded = json::parse(value.get_ref<const std::string&>(), nullptr, false);
                if (!decoded.is_discarded() && decoded.is_array()) return decoded;
            }
            return std::nullopt;
    }
    return std::nullopt;
}

}  // namespace

}  // namespace folvane
