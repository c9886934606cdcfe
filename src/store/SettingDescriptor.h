#pragma once

#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace folvane {

// Every setting that AppPreferences keeps in the key-value store, in the order
// that `settings list` shows them.
enum class Setting {
    // Published: read once at start, held in memory, written by their setters.
    legacyFontSize,
    textSizeAdjustment,
    alwaysOnTop,
    showPageReferences,
    useMarkdown,
    useLaTeX,
    autoCloseWelcomeWindow,
    customModelId,
    embeddingModelId,
    openRouterModels,
    mistralModels,
    ollamaModels,
    // Stored: read from the store at each access.
    autoTagIndexedFiles,
    autoSuggestQuestions,
    dataIngestionStrategy,
    pageCountThreshold,
    colorScheme,
    fontLeading,
    fontName,
    codeFontName,
    codeColorSchemeLight,
    codeColorSchemeDark,
    speechVoice,
    voiceModel,
    sttLanguageCode,
    autoSendMessageAfterSpeak,
    // Dictation and reading aloud on this machine (pocketsphinx and the
    // desktop's speech engine) instead of the OpenAI account.
    onDeviceSpeech,
    defaultFinderTag,
    useOCRForPDFForms,
    ocrRecognitionLevel,
    redactEmailAddresses,
    redactCCNumbers,
    redactPhoneNumbers,
    hideMonetaryAmounts,
    userInstruction,
    appendUserInstructionToUserMessage,
    defaultTemperature,
    defaultModel,
    customHost,
    organizationIdentifier,
    defaultContextLimit,
    defaultPresencePenalty,
    defaultFrequencyPenalty,
    indexingParallelTask,
    continueLastConversation,
    onboardingOpened,
    onboardingSetup,
    onboardingUsed,
    onboardingAha,
    onboardingActivated,
    onboardingTourStep,
    onboardingTourEnded,
    usageEventsCollector,
    googleSearchEngineId,
    googleSearchApiKey,
    // The global shortcut's key, as Qt's portable text ("Ctrl+Alt+P"); none by default.
    openWithFolvane,
    embeddingModelURL,
    embeddingModelSHA256,
};

inline constexpr std::size_t settingCount =
    static_cast<std::size_t>(Setting::embeddingModelSHA256) + 1;

enum class SettingKind { stored, published };

enum class SettingType {
    boolean,
    integer,    // fits an int
    integer64,  // fits an int64_t
    real,
    text,
    optionalText,  // a string, or absent (JSON null)
    choice,        // the raw string of an enumeration case
    catalogue,     // a JSON array
};

struct SettingDescriptor {
    Setting id;
    std::string key;  // the key in the store
    SettingKind kind;
    SettingType type;
    nlohmann::json defaultValue;       // null for an absent optional string
    std::vector<std::string> choices;  // the raw strings of a choice
};

// The values a number setting can take at all; a value outside can never work
// (a font of negative size, no indexing task at a time).
struct SettingRange {
    double minimum = -std::numeric_limits<double>::infinity();
    double maximum = std::numeric_limits<double>::infinity();
};

// The range of a number setting that has one.
std::optional<SettingRange> settingRange(Setting setting);

// The descriptors, indexed by Setting.
const std::vector<SettingDescriptor>& settingDescriptors();
const SettingDescriptor& settingDescriptor(Setting setting);
// The descriptor of a store key, or null when no setting has that key.
const SettingDescriptor* findSetting(std::string_view key);

// A stored JSON value as the setting's type reads it, or nothing when it does
// not fit: a wrong JSON type, a number out of the type's or the setting's range,
// a string that is no case of the enumeration. A whole floating-point value is taken for an
// integer, and a string that holds a JSON array for a catalogue.
std::optional<nlohmann::json> acceptedValue(const SettingDescriptor& setting,
                                            const nlohmann::json& value);

}  // namespace folvane
