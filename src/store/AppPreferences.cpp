#include "store/AppPreferences.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "platform/LibsecretSecretStore.h"
#include "platform/Log.h"
#include "platform/MemorySecretStore.h"
#include "platform/SecretStore.h"
#include "store/JsonFileKeyValueStore.h"
#include "store/MemoryKeyValueStore.h"
#include "store/SettingsError.h"

namespace folvane {
namespace {

using json = nlohmann::json;

// A double as an int, saturating instead of overflowing.
int clampToInt(double value) {
    if (std::isnan(value)) return 0;
    if (value <= std::numeric_limits<int>::min()) return std::numeric_limits<int>::min();
    if (value >= std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
    return static_cast<int>(value);
}

std::optional<double> parseNumber(std::string_view text) {
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(number)) {
        return std::nullopt;
    }
    return number;
}

// The width and height of a remembered window frame "x y width height ...".
std::optional<AppPreferences::Size> windowSizeFromFrame(std::string_view frame) {
    std::vector<std::string_view> parts;
    while (!frame.empty()) {
        const auto space = frame.find(' ');
        if (space != 0) parts.push_back(frame.substr(0, space));
        if (space == std::string_view::npos) break;
        frame.remove_prefix(space + 1);
    }
    if (parts.size() < 4) return std::nullopt;
    const auto width = parseNumber(parts[2]);
    const auto height = parseNumber(parts[3]);
    if (!width || !height) return std::nullopt;
    return AppPreferences::Size{*width, *height};
}

}  // namespace

AppPreferences::AppPreferences(std::unique_ptr<KeyValueStore> store,
                               std::unique_ptr<SecretStore> secrets)
    : store_(std::move(store)),
      secrets_(std::move(secrets)),
      lastUpdated_(std::chrono::system_clock::now()) {
    if (!store_) throw std::invalid_argument("AppPreferences needs a key-value store");
    if (!secrets_) throw std::invalid_argument("AppPreferences needs a secret store");
    runStartUpSteps();
}

AppPreferences::AppPreferences()
    : AppPreferences(std::make_unique<MemoryKeyValueStore>(),
                     std::make_unique<MemorySecretStore>(secretItemPrefix)) {}

AppPreferences::~AppPreferences() {
    if (secretWorker_.joinable()) {
        secretWorker_.request_stop();
        secretWorker_.join();
    }
}

std::unique_ptr<AppPreferences> AppPreferences::open(const std::string& configDirectory) {
    auto store = std::make_unique<JsonFileKeyValueStore>(configDirectory + "/settings.json");
    std::unique_ptr<SecretStore> secrets;
    if (LibsecretSecretStore::isServiceReachable()) {
        secrets = std::make_unique<LibsecretSecretStore>(secretItemPrefix);
    } else {
        log("No Secret Service is reachable; the API key is kept in memory for this session");
        secrets = std::make_unique<MemorySecretStore>(secretItemPrefix);
    }
    return std::make_unique<AppPreferences>(std::move(store), std::move(secrets));
}

void AppPreferences::runStartUpSteps() {
    // Every published setting starts at its default.
    for (const auto& descriptor : settingDescriptors()) {
        if (descriptor.kind == SettingKind::published) {
            published_[descriptor.id] = descriptor.defaultValue;
        }
    }

    const auto stored = [this](Setting setting) -> std::optional<json> {
        const auto& descriptor = settingDescriptor(setting);
        const auto raw = store_->get(descriptor.key);
        if (!raw) return std::nullopt;
        return acceptedValue(descriptor, *raw);
    };

    if (auto key = secrets_->read(openAIKeyItem); key && !key->empty()) {
        openAIKey_ = std::move(*key);
    } else {
        log("No key found");
    }

    // Older versions kept an absolute font size; the text size is now a number
    // of steps from the desktop's size, one step being 2 points.
    const double fontSize = stored(Setting::legacyFontSize).value_or(json(13.0)).get<double>();
    restore(Setting::legacyFontSize, fontSize);
    if (auto steps = stored(Setting::textSizeAdjustment)) {
        restore(Setting::textSizeAdjustment, *steps);
    } else {
        restore(Setting::textSizeAdjustment, clampToInt(std::trunc(fontSize)) - 13);
    }

    for (auto setting : {Setting::customModelId, Setting::embeddingModelId}) {
        restore(setting, stored(setting).value_or(json(0)));
    }

    if (auto frame = store_->get(chatWindowFrameKey); frame && frame->is_string()) {
        if (auto size = windowSizeFromFrame(frame->get_ref<const std::string&>())) {
            defaultChatWindowSize_ = *size;
            std::ostringstream line;
            line << "defaultChatWindowSize " << size->width << " x " << size->height;
            log(line.str());
        }
    }

    for (auto setting : {Setting::alwaysOnTop, Setting::showPageReferences, Setting::useMarkdown,
                         Setting::useLaTeX, Setting::autoCloseWelcomeWindow}) {
        restore(setting, stored(setting).value_or(settingDescriptor(setting).defaultValue));
    }

    // A catalogue that does not decode stays empty and is not written back.
    for (auto setting :
         {Setting::openRouterModels, Setting::mistralModels, Setting::ollamaModels}) {
        if (auto models = stored(setting)) restore(setting, *models);
    }
}

void AppPreferences::restore(Setting setting, const json& value) {
    const auto& descriptor = settingDescriptor(setting);
    if (descriptor.kind == SettingKind::published) published_[setting] = value;
    try {
        store_->set(descriptor.key, value);
    } catch (const SettingsError& error) {
        // Writing back what was read or defaulted only makes the file complete;
        // the value holds for this run all the same, and a change the user
        // makes is refused with these words.
        log(error.what());
    }
}

Subscription AppPreferences::subscribe(Observer observer) {
    return observers_.subscribe(std::move(observer));
}

void AppPreferences::notify(std::string_view key) {
    observers_.notify(key);
}

json AppPreferences::value(Setting setting) const {
    const auto& descriptor = settingDescriptor(setting);
    if (descriptor.kind == SettingKind::published) return published_.at(setting);
    if (const auto raw = store_->get(descriptor.key)) {
        if (auto accepted = acceptedValue(descriptor, *raw)) return std::move(*accepted);
    }
    return descriptor.defaultValue;
}

bool AppPreferences::isStored(Setting setting) const {
    return store_->contains(settingDescriptor(setting).key);
}

void AppPreferences::setValue(Setting setting, const json& newValue) {
    const auto& descriptor = settingDescriptor(setting);
    auto accepted = acceptedValue(descriptor, newValue);
    if (!accepted) {
        throw std::invalid_argument("Invalid value for " + descriptor.key + ": " + newValue.dump());
    }
    // The store first: a value it cannot keep throws and changes nothing.
    if (accepted->is_null()) {
        store_->remove(descriptor.key);
    } else {
        store_->set(descriptor.key, *accepted);
    }
    if (descriptor.kind == SettingKind::published) published_[setting] = std::move(*accepted);
    notify(descriptor.key);
}

std::optional<std::string> AppPreferences::optionalText(Setting setting) const {
    const auto stored = value(setting);
    if (stored.is_null()) return std::nullopt;
    return stored.get<std::string>();
}

void AppPreferences::setLastUpdated(std::chrono::system_clock::time_point time) {
    lastUpdated_ = time;
    notify(lastUpdatedKey);
}

DataIngestionStrategy AppPreferences::dataIngestionStrategy() const {
    return dataIngestionStrategyFromRaw(choice(Setting::dataIngestionStrategy))
        .value_or(DataIngestionStrategy::local);
}
void AppPreferences::setDataIngestionStrategy(DataIngestionStrategy strategy) {
    setValue(Setting::dataIngestionStrategy, rawValue(strategy));
}

AppColorScheme AppPreferences::colorScheme() const {
    return appColorSchemeFromRaw(choice(Setting::colorScheme)).value_or(AppColorScheme::system);
}
void AppPreferences::setColorScheme(AppColorScheme scheme) {
    setValue(Setting::colorScheme, rawValue(scheme));
}

AppFontLeading AppPreferences::fontLeading() const {
    return appFontLeadingFromRaw(choice(Setting::fontLeading)).value_or(AppFontLeading::standard);
}
void AppPreferences::setFontLeading(AppFontLeading leading) {
    setValue(Setting::fontLeading, rawValue(leading));
}

void AppPreferences::setFontName(std::optional<std::string> family) {
    setValue(Setting::fontName, family ? json(*family) : json(nullptr));
}
void AppPreferences::setCodeFontName(std::optional<std::string> family) {
    setValue(Setting::codeFontName, family ? json(*family) : json(nullptr));
}

CodeBlockColorScheme AppPreferences::codeColorSchemeLight() const {
    return codeBlockColorSchemeFromRaw(choice(Setting::codeColorSchemeLight))
        .value_or(CodeBlockColorScheme::github);
}
void AppPreferences::setCodeColorSchemeLight(CodeBlockColorScheme scheme) {
    setValue(Setting::codeColorSchemeLight, rawValue(scheme));
}
CodeBlockColorScheme AppPreferences::codeColorSchemeDark() const {
    return codeBlockColorSchemeFromRaw(choice(Setting::codeColorSchemeDark))
        .value_or(CodeBlockColorScheme::githubDark);
}
void AppPreferences::setCodeColorSchemeDark(CodeBlockColorScheme scheme) {
    setValue(Setting::codeColorSchemeDark, rawValue(scheme));
}

OnboardingTourStep AppPreferences::onboardingTourStep() const {
    return onboardingTourStepFromRaw(choice(Setting::onboardingTourStep))
        .value_or(OnboardingTourStep::stepZero);
}
void AppPreferences::setOnboardingTourStep(OnboardingTourStep step) {
    setValue(Setting::onboardingTourStep, rawValue(step));
}

double AppPreferences::textSize(double systemFontSize) const {
    return systemFontSize + 2.0 * textSizeAdjustment();
}

double AppPreferences::lineSpacing(double systemFontSize) const {
    const double size = textSize(systemFontSize);
    switch (fontLeading()) {
        case AppFontLeading::tight:
            return 0;
        case AppFontLeading::standard:
            return size * 0.25;
        case AppFontLeading::loose:
            return size * 0.5;
    }
    return size * 0.25;
}

AppPreferences::Font AppPreferences::font(double systemFontSize) const {
    return Font{fontName(), textSize(systemFontSize)};
}

CodeBlockColorScheme AppPreferences::codeColorScheme(bool isDark) const {
    return isDark ? codeColorSchemeDark() : codeColorSchemeLight();
}

bool AppPreferences::isSecretStoreAvailable() const {
    return secrets_->isPersistent();
}

std::string AppPreferences::secretStoreLocation() const {
    return secrets_->location();
}

void AppPreferences::setOpenAIKey(std::string key) {
    openAIKey_ = std::move(key);
    notify(openAIKeyKey);
    SecretStore* secrets = secrets_.get();
    if (openAIKey_.empty()) {
        enqueueSecretWrite([secrets] { return secrets->remove(openAIKeyItem); });
    } else {
        enqueueSecretWrite(
            [secrets, copy = openAIKey_] { return secrets->write(openAIKeyItem, copy); });
    }
}

void AppPreferences::enqueueSecretWrite(std::function<bool()> write) {
    {
        std::lock_guard lock(secretMutex_);
        secretWrites_.push_back(std::move(write));
    }
    if (!secretWorker_.joinable()) {
        secretWorker_ = std::jthread([this](std::stop_token stop) { runSecretWrites(stop); });
    }
    secretQueued_.notify_one();
}

void AppPreferences::runSecretWrites(std::stop_token stop) {
    std::unique_lock lock(secretMutex_);
    while (true) {
        // A stop request ends the thread only once the queue is empty, so that a
        // key set just before exit still reaches the store.
        secretQueued_.wait(lock, stop, [this] { return !secretWrites_.empty(); });
        if (secretWrites_.empty()) return;
        auto write = std::move(secretWrites_.front());
        secretWrites_.pop_front();
        secretWriteRunning_ = true;
        lock.unlock();
        const bool succeeded = write();
        lock.lock();
        secretWriteRunning_ = false;
        if (!succeeded) secretWriteFailed_ = true;
        if (secretWrites_.empty()) secretIdle_.notify_all();
    }
}

bool AppPreferences::waitForSecretWrites() {
    std::unique_lock lock(secretMutex_);
    secretIdle_.wait(lock, [this] { return secretWrites_.empty() && !secretWriteRunning_; });
    return !std::exchange(secretWriteFailed_, false);
}

}  // namespace folvane
