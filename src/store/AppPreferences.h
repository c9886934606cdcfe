#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "runtime/ObserverList.h"
#include "store/AppColorScheme.h"
#include "store/AppFontLeading.h"
#include "store/CodeBlockColorScheme.h"
#include "store/DataIngestionStrategy.h"
#include "store/KeyValueStore.h"
#include "store/OnboardingTourStep.h"
#include "store/SettingDescriptor.h"

namespace folvane {

class SecretStore;

// The application's one settings object: made once by main and handed down.
//
// Settings live in a KeyValueStore under the keys of settingDescriptors().
// Stored settings are read from the store at each access; published ones are
// read once at construction and held in memory. Every setter writes the store at
// once and then tells the observers the setting's key. The OpenAI API key is the
// one secret: it lives in a SecretStore, written on a background thread.
//
// Used from one thread (the main thread); only the secret's writes run elsewhere.
class AppPreferences {
  public:
    static constexpr const char* secretItemPrefix = "co.tessavel.Folvane_";
    static constexpr const char* openAIKeyItem = "openAIKey";
    static constexpr const char* chatWindowFrameKey = "NSWindow Frame chatWindow-AppWindow-1";
    // The keys that observers hear for the two values that the store does not hold.
    static constexpr std::string_view openAIKeyKey = "openAIKey";
    static constexpr std::string_view lastUpdatedKey = "lastUpdated";

    struct Size {
        double width = 0;
        double height = 0;
        bool operator==(const Size&) const = default;
    };

    // The message font: a family (none means the system font) at a size.
    struct Font {
        std::optional<std::string> family;
        double size = 0;
    };

    using Observer = std::function<void(std::string_view key)>;

    // Ends the subscription when destroyed; it may outlive the preferences,
    // and may be cancelled from inside a notification.
    using Subscription = folvane::Subscription;

    // Runs the start-up steps: reads the key, migrates the legacy font size,
    // loads the published settings and stores their values back.
    AppPreferences(std::unique_ptr<KeyValueStore> store, std::unique_ptr<SecretStore> secrets);
    // Settings and key in memory only, gone with the object: for tests.
    AppPreferences();
    // Waits for the secret's pending writes.
    ~AppPreferences();
    AppPreferences(const AppPreferences&) = delete;
    AppPreferences& operator=(const AppPreferences&) = delete;

    // Settings in configDirectory/settings.json, the key in the Secret Service
    // when one is reachable, else in memory for this process.
    static std::unique_ptr<AppPreferences> open(const std::string& configDirectory);

    [[nodiscard]] Subscription subscribe(Observer observer);

    // Any setting by its descriptor: the value as JSON (the default when the
    // store holds none or one that does not fit), and a setter that takes a value
    // of the setting's type and throws std::invalid_argument for any other.
    // An absent optional string is JSON null.
    nlohmann::json value(Setting setting) const;
    // Throws SettingsError, changing nothing, when the store cannot keep the value.
    void setValue(Setting setting, const nlohmann::json& value);
    // Whether the key-value store holds the setting's key at all.
    bool isStored(Setting setting) const;

    // The secret.
    bool isSecretStoreAvailable() const;
    std::string secretStoreLocation() const;
    // The store of the other secrets (custom models' keys); it lives as long as
    // the preferences.
    SecretStore& secretStore() const { return *secrets_; }
    const std::string& openAIKey() const { return openAIKey_; }
    // Updates the key at once; stores it (or removes the item, for "") in the
    // background.
    void setOpenAIKey(std::string key);
    // Blocks until the secret's queued writes are done; false when one failed
    // since the last call.
    bool waitForSecretWrites();

    // Published settings.
    double legacyFontSize() const { return real(Setting::legacyFontSize); }
    void setLegacyFontSize(double size) { setValue(Setting::legacyFontSize, size); }
    int textSizeAdjustment() const { return integer(Setting::textSizeAdjustment); }
    void setTextSizeAdjustment(int steps) { setValue(Setting::textSizeAdjustment, steps); }
    bool alwaysOnTop() const { return flag(Setting::alwaysOnTop); }
    void setAlwaysOnTop(bool on) { setValue(Setting::alwaysOnTop, on); }
    bool showPageReferences() const { return flag(Setting::showPageReferences); }
    void setShowPageReferences(bool on) { setValue(Setting::showPageReferences, on); }
    bool useMarkdown() const { return flag(Setting::useMarkdown); }
    void setUseMarkdown(bool on) { setValue(Setting::useMarkdown, on); }
    bool useLaTeX() const { return flag(Setting::useLaTeX); }
    void setUseLaTeX(bool on) { setValue(Setting::useLaTeX, on); }
    bool autoCloseWelcomeWindow() const { return flag(Setting::autoCloseWelcomeWindow); }
    void setAutoCloseWelcomeWindow(bool on) { setValue(Setting::autoCloseWelcomeWindow, on); }
    int64_t customModelId() const { return integer64(Setting::customModelId); }
    void setCustomModelId(int64_t id) { setValue(Setting::customModelId, id); }
    int64_t embeddingModelId() const { return integer64(Setting::embeddingModelId); }
    void setEmbeddingModelId(int64_t id) { setValue(Setting::embeddingModelId, id); }
    // The cached model catalogues, JSON arrays.
    nlohmann::json openRouterModels() const { return value(Setting::openRouterModels); }
    void setOpenRouterModels(nlohmann::json models) { setValue(Setting::openRouterModels, models); }
    nlohmann::json mistralModels() const { return value(Setting::mistralModels); }
    void setMistralModels(nlohmann::json models) { setValue(Setting::mistralModels, models); }
    nlohmann::json ollamaModels() const { return value(Setting::ollamaModels); }
    void setOllamaModels(nlohmann::json models) { setValue(Setting::ollamaModels, models); }

    // Not stored: moved to now when a custom model changes, so observers refresh.
    std::chrono::system_clock::time_point lastUpdated() const { return lastUpdated_; }
    void setLastUpdated(std::chrono::system_clock::time_point time);

    // From the remembered chat window frame, else 1000 by 600.
    Size defaultChatWindowSize() const { return defaultChatWindowSize_; }

    // Stored settings.
    bool autoTagIndexedFiles() const { return flag(Setting::autoTagIndexedFiles); }
    void setAutoTagIndexedFiles(bool on) { setValue(Setting::autoTagIndexedFiles, on); }
    bool autoSuggestQuestions() const { return flag(Setting::autoSuggestQuestions); }
    void setAutoSuggestQuestions(bool on) { setValue(Setting::autoSuggestQuestions, on); }
    DataIngestionStrategy dataIngestionStrategy() const;
    void setDataIngestionStrategy(DataIngestionStrategy strategy);
    int pageCountThreshold() const { return integer(Setting::pageCountThreshold); }
    void setPageCountThreshold(int pages) { setValue(Setting::pageCountThreshold, pages); }
    AppColorScheme colorScheme() const;
    void setColorScheme(AppColorScheme scheme);
    AppFontLeading fontLeading() const;
    void setFontLeading(AppFontLeading leading);
    std::optional<std::string> fontName() const { return optionalText(Setting::fontName); }
    void setFontName(std::optional<std::string> family);
    std::optional<std::string> codeFontName() const { return optionalText(Setting::codeFontName); }
    void setCodeFontName(std::optional<std::string> family);
    CodeBlockColorScheme codeColorSchemeLight() const;
    void setCodeColorSchemeLight(CodeBlockColorScheme scheme);
    CodeBlockColorScheme codeColorSchemeDark() const;
    void setCodeColorSchemeDark(CodeBlockColorScheme scheme);
    std::string speechVoice() const { return text(Setting::speechVoice); }
    void setSpeechVoice(const std::string& voice) { setValue(Setting::speechVoice, voice); }
    std::string voiceModel() const { return text(Setting::voiceModel); }
    void setVoiceModel(const std::string& model) { setValue(Setting::voiceModel, model); }
    std::string sttLanguageCode() const { return text(Setting::sttLanguageCode); }
    void setSttLanguageCode(const std::string& code) { setValue(Setting::sttLanguageCode, code); }
    bool autoSendMessageAfterSpeak() const { return flag(Setting::autoSendMessageAfterSpeak); }
    void setAutoSendMessageAfterSpeak(bool on) { setValue(Setting::autoSendMessageAfterSpeak, on); }
    // Dictation and reading aloud without the OpenAI account: a WAV recording
    // transcribed on this machine, and the desktop's voice.
    bool onDeviceSpeech() const { return flag(Setting::onDeviceSpeech); }
    void setOnDeviceSpeech(bool on) { setValue(Setting::onDeviceSpeech, on); }
    std::string defaultFinderTag() const { return text(Setting::defaultFinderTag); }
    void setDefaultFinderTag(const std::string& tag) { setValue(Setting::defaultFinderTag, tag); }
    bool useOCRForPDFForms() const { return flag(Setting::useOCRForPDFForms); }
    void setUseOCRForPDFForms(bool on) { setValue(Setting::useOCRForPDFForms, on); }
    std::string ocrRecognitionLevel() const { return text(Setting::ocrRecognitionLevel); }
    void setOcrRecognitionLevel(const std::string& level) {
        setValue(Setting::ocrRecognitionLevel, level);
    }
    bool redactEmailAddresses() const { return flag(Setting::redactEmailAddresses); }
    void setRedactEmailAddresses(bool on) { setValue(Setting::redactEmailAddresses, on); }
    bool redactCCNumbers() const { return flag(Setting::redactCCNumbers); }
    void setRedactCCNumbers(bool on) { setValue(Setting::redactCCNumbers, on); }
    bool redactPhoneNumbers() const { return flag(Setting::redactPhoneNumbers); }
    void setRedactPhoneNumbers(bool on) { setValue(Setting::redactPhoneNumbers, on); }
    bool hideMonetaryAmounts() const { return flag(Setting::hideMonetaryAmounts); }
    void setHideMonetaryAmounts(bool on) { setValue(Setting::hideMonetaryAmounts, on); }
    std::string userInstruction() const { return text(Setting::userInstruction); }
    void setUserInstruction(const std::string& instruction) {
        setValue(Setting::userInstruction, instruction);
    }
    bool appendUserInstructionToUserMessage() const {
        return flag(Setting::appendUserInstructionToUserMessage);
    }
    void setAppendUserInstructionToUserMessage(bool on) {
        setValue(Setting::appendUserInstructionToUserMessage, on);
    }
    double defaultTemperature() const { return real(Setting::defaultTemperature); }
    void setDefaultTemperature(double value) { setValue(Setting::defaultTemperature, value); }
    std::string defaultModel() const { return text(Setting::defaultModel); }
    void setDefaultModel(const std::string& model) { setValue(Setting::defaultModel, model); }
    std::string customHost() const { return text(Setting::customHost); }
    void setCustomHost(const std::string& host) { setValue(Setting::customHost, host); }
    std::string organizationIdentifier() const { return text(Setting::organizationIdentifier); }
    void setOrganizationIdentifier(const std::string& id) {
        setValue(Setting::organizationIdentifier, id);
    }
    int defaultContextLimit() const { return integer(Setting::defaultContextLimit); }
    void setDefaultContextLimit(int limit) { setValue(Setting::defaultContextLimit, limit); }
    double defaultPresencePenalty() const { return real(Setting::defaultPresencePenalty); }
    void setDefaultPresencePenalty(double value) {
        setValue(Setting::defaultPresencePenalty, value);
    }
    double defaultFrequencyPenalty() const { return real(Setting::defaultFrequencyPenalty); }
    void setDefaultFrequencyPenalty(double value) {
        setValue(Setting::defaultFrequencyPenalty, value);
    }
    int indexingParallelTask() const { return integer(Setting::indexingParallelTask); }
    void setIndexingParallelTask(int tasks) { setValue(Setting::indexingParallelTask, tasks); }
    bool continueLastConversation() const { return flag(Setting::continueLastConversation); }
    void setContinueLastConversation(bool on) { setValue(Setting::continueLastConversation, on); }
    bool onboardingOpened() const { return flag(Setting::onboardingOpened); }
    void setOnboardingOpened(bool on) { setValue(Setting::onboardingOpened, on); }
    bool onboardingSetup() const { return flag(Setting::onboardingSetup); }
    void setOnboardingSetup(bool on) { setValue(Setting::onboardingSetup, on); }
    bool onboardingUsed() const { return flag(Setting::onboardingUsed); }
    void setOnboardingUsed(bool on) { setValue(Setting::onboardingUsed, on); }
    bool onboardingAha() const { return flag(Setting::onboardingAha); }
    void setOnboardingAha(bool on) { setValue(Setting::onboardingAha, on); }
    bool onboardingActivated() const { return flag(Setting::onboardingActivated); }
    void setOnboardingActivated(bool on) { setValue(Setting::onboardingActivated, on); }
    OnboardingTourStep onboardingTourStep() const;
    void setOnboardingTourStep(OnboardingTourStep step);
    bool onboardingTourEnded() const { return flag(Setting::onboardingTourEnded); }
    void setOnboardingTourEnded(bool on) { setValue(Setting::onboardingTourEnded, on); }
    // Where the first-use milestones are reported ("https://host[:port]"); empty,
    // the default: nowhere, and nothing leaves the machine.
    std::string usageEventsCollector() const { return text(Setting::usageEventsCollector); }
    void setUsageEventsCollector(const std::string& address) {
        setValue(Setting::usageEventsCollector, address);
    }
    std::string googleSearchEngineId() const { return text(Setting::googleSearchEngineId); }
    void setGoogleSearchEngineId(const std::string& id) {
        setValue(Setting::googleSearchEngineId, id);
    }
    std::string googleSearchApiKey() const { return text(Setting::googleSearchApiKey); }
    void setGoogleSearchApiKey(const std::string& key) {
        setValue(Setting::googleSearchApiKey, key);
    }
    // Where `model download` fetches the local model's weights, and the
    // SHA-256 (hex) they must have; "" until the first download stores it.
    std::string embeddingModelURL() const { return text(Setting::embeddingModelURL); }
    std::string embeddingModelSHA256() const { return text(Setting::embeddingModelSHA256); }
    void setEmbeddingModelSHA256(const std::string& digest) {
        setValue(Setting::embeddingModelSHA256, digest);
    }

    // A chat can be answered: OpenAI is the default and has a key, or a custom
    // model is the default.
    bool chatReady() const {
        const int64_t id = customModelId();
        return id > 0 || (id == 0 && !openAIKey_.empty());
    }

    // Derived values, given the desktop's font size in points.
    double textSize(double systemFontSize) const;
    double lineSpacing(double systemFontSize) const;
    Font font(double systemFontSize) const;
    CodeBlockColorScheme codeColorScheme(bool isDark) const;

  private:
    void runStartUpSteps();
    // Holds a start-up value and writes it back; a store that cannot keep it
    // leaves it in memory for this run.
    void restore(Setting setting, const nlohmann::json& value);
    void notify(std::string_view key);
    void enqueueSecretWrite(std::function<bool()> write);
    void runSecretWrites(std::stop_token stop);

    bool flag(Setting setting) const { return value(setting).get<bool>(); }
    int integer(Setting setting) const { return value(setting).get<int>(); }
    int64_t integer64(Setting setting) const { return value(setting).get<int64_t>(); }
    double real(Setting setting) const { return value(setting).get<double>(); }
    std::string text(Setting setting) const { return value(setting).get<std::string>(); }
    std::optional<std::string> optionalText(Setting setting) const;
    std::string choice(Setting setting) const { return value(setting).get<std::string>(); }

    std::unique_ptr<KeyValueStore> store_;
    std::unique_ptr<SecretStore> secrets_;
    ObserverList<std::string_view> observers_;
    std::map<Setting, nlohmann::json> published_;
    std::string openAIKey_;
    std::chrono::system_clock::time_point lastUpdated_;
    Size defaultChatWindowSize_{1000, 600};

    // The secret's writes, in order, on one worker thread started on first use.
    std::mutex secretMutex_;
    std::condition_variable_any secretQueued_;
    std::condition_variable secretIdle_;
    std::deque<std::function<bool()>> secretWrites_;
    bool secretWriteRunning_ = false;
    bool secretWriteFailed_ = false;
    std::jthread secretWorker_;  // last: stopped and joined before the members above go
};

}  // namespace folvane
