#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <vector>

#include "platform/MemorySecretStore.h"
#include "store/AppPreferences.h"
#include "store/MemoryKeyValueStore.h"
#include "support/LogCapture.h"

namespace folvane {
namespace {

using test::LogCapture;

using json = nlohmann::json;
using ::testing::Contains;
using ::testing::ElementsAre;

// Stores owned by the test and lent to each AppPreferences, so that a second
// object sees what the first one left, as a second start of the program does.
class LentKeyValueStore : public KeyValueStore {
  public:
    explicit LentKeyValueStore(MemoryKeyValueStore& target) : target_(target) {}
    std::optional<json> get(const std::string& key) const override { return target_.get(key); }
    void set(const std::string& key, json value) override { target_.set(key, std::move(value)); }
    void remove(const std::string& key) override { target_.remove(key); }

  private:
    MemoryKeyValueStore& target_;
};

class LentSecretStore : public SecretStore {
  public:
    explicit LentSecretStore(MemorySecretStore& target, bool failing = false)
        : target_(target), failing_(failing) {}
    std::optional<std::string> read(const std::string& name) override { return target_.read(name); }
    bool write(const std::string& name, const std::string& secret) override {
        return !failing_ && target_.write(name, secret);
    }
    bool remove(const std::string& name) override { return !failing_ && target_.remove(name); }
    bool isPersistent() const override { return true; }
    std::string location() const override { return "a test store"; }

  private:
    MemorySecretStore& target_;
    bool failing_;
};

class AppPreferencesTest : public ::testing::Test {
  protected:
    MemoryKeyValueStore store;
    MemorySecretStore secrets{AppPreferences::secretItemPrefix};

    void clearStore() {
        const json all = store.snapshot();
        for (const auto& [key, value] : all.items()) store.remove(key);
    }

    std::unique_ptr<AppPreferences> start(bool failingSecrets = false) {
        return std::make_unique<AppPreferences>(
            std::make_unique<LentKeyValueStore>(store),
            std::make_unique<LentSecretStore>(secrets, failingSecrets));
    }
};

TEST_F(AppPreferencesTest, FirstStartStoresThePublishedDefaultsAndNothingElse) {
    LogCapture log;
    auto preferences = start();
    EXPECT_EQ(store.snapshot(), json({{"fontSize", 13.0},
                                      {"textSizeAdjustment", 0},
                                      {"customModelId", 0},
                                      {"embeddingModelId", 0},
                                      {"alwaysOnTop", false},
                                      {"showPageReferences", true},
                                      {"useMarkdown", true},
                                      {"useLaTeX", false},
                                      {"autoCloseWelcomeWindow", false}}));
    EXPECT_THAT(log.lines(), Contains("No key found"));
}

TEST_F(AppPreferencesTest, TextSizeAdjustmentComesFromTheLegacyFontSizeWhenAbsent) {
    struct Case {
        json fontSize;  // null: no key
        json adjustment;
        int expected;
    };
    const std::vector<Case> cases = {
        {nullptr, nullptr, 0}, {15, nullptr, 2}, {15.9, nullptr, 2},
        {11, nullptr, -2},     {15, -1, -1},     {"big", nullptr, 0},
        {15, "x", 2},          {nullptr, 3, 3},  {1e300, nullptr, 2147483647 - 13},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fontSize.dump() + " / " + c.adjustment.dump());
        clearStore();
        if (!c.fontSize.is_null()) store.set("fontSize", c.fontSize);
        if (!c.adjustment.is_null()) store.set("textSizeAdjustment", c.adjustment);

        auto preferences = start();
        EXPECT_EQ(preferences->textSizeAdjustment(), c.expected);
        EXPECT_EQ(store.get("textSizeAdjustment"), json(c.expected));
    }
}

TEST_F(AppPreferencesTest, TextSizeAndLineSpacingFollowTheAdjustmentAndLeading) {
    store.set("fontSize", 15);
    auto preferences = start();
    EXPECT_DOUBLE_EQ(preferences->textSize(13), 17);

    const std::vector<std::pair<AppFontLeading, double>> spacing = {
        {AppFontLeading::tight, 0},
        {AppFontLeading::standard, 17 * 0.25},
        {AppFontLeading::loose, 17 * 0.5}};
    for (const auto& [leading, expected] : spacing) {
        preferences->setFontLeading(leading);
        EXPECT_DOUBLE_EQ(preferences->lineSpacing(13), expected) << rawValue(leading);
    }

    preferences->setFontName("DejaVu Serif");
    EXPECT_EQ(preferences->font(10).family, "DejaVu Serif");
    EXPECT_DOUBLE_EQ(preferences->font(10).size, 14);
}

TEST_F(AppPreferencesTest, AStoredValueThatFitsNoCaseOrTypeReadsAsTheDefault) {
    store.set("colorScheme", "purple");
    store.set("fontLeading", "Loose");
    store.set("codeColorSchemeDark", "Monokai");
    store.set("onboardingTourStep", "stepNine");
    store.set("dataIngestionStrategy", 3);
    store.set("pageCountThreshold", "300 pages");
    store.set("indexingParallelTask", 2.5);
    store.set("defaultContextLimit", 1e12);
    store.set("autoTagIndexedFiles", "yes");
    store.set("fontName", 12);
    store.set("speechVoice", nullptr);
    auto preferences = start();

    EXPECT_EQ(preferences->colorScheme(), AppColorScheme::system);
    EXPECT_EQ(preferences->fontLeading(), AppFontLeading::standard);
    EXPECT_EQ(preferences->codeColorSchemeDark(), CodeBlockColorScheme::githubDark);
    EXPECT_EQ(preferences->onboardingTourStep(), OnboardingTourStep::stepZero);
    EXPECT_EQ(preferences->dataIngestionStrategy(), DataIngestionStrategy::local);
    EXPECT_EQ(preferences->pageCountThreshold(), 300);
    EXPECT_EQ(preferences->indexingParallelTask(), 5);
    EXPECT_EQ(preferences->defaultContextLimit(), 5);
    EXPECT_TRUE(preferences->autoTagIndexedFiles());
    EXPECT_EQ(preferences->fontName(), std::nullopt);
    EXPECT_EQ(preferences->speechVoice(), "alloy");
}

TEST_F(AppPreferencesTest, ValuesSurviveARestart) {
    {
        auto preferences = start();
        preferences->setAlwaysOnTop(true);
        preferences->setUseMarkdown(false);
        preferences->setTextSizeAdjustment(-1);
        preferences->setCustomModelId(int64_t{1} << 40);
        preferences->setDataIngestionStrategy(DataIngestionStrategy::smart);
        preferences->setPageCountThreshold(120);
        preferences->setCodeColorSchemeLight(CodeBlockColorScheme::atomOneDarkReasonable);
        preferences->setOnboardingTourStep(OnboardingTourStep::stepCustomize);
        preferences->setCustomHost("llm.example.test");
    }
    EXPECT_EQ(store.get("codeColorSchemeLight"), json("atom-one-dark-reasonable"));
    EXPECT_EQ(store.get("openAICustomHost"), json("llm.example.test"));

    auto preferences = start();
    EXPECT_TRUE(preferences->alwaysOnTop());
    EXPECT_FALSE(preferences->useMarkdown());
    EXPECT_EQ(preferences->textSizeAdjustment(), -1);
    EXPECT_EQ(preferences->customModelId(), int64_t{1} << 40);
    EXPECT_EQ(preferences->dataIngestionStrategy(), DataIngestionStrategy::smart);
    EXPECT_EQ(preferences->pageCountThreshold(), 120);
    EXPECT_EQ(preferences->codeColorScheme(false), CodeBlockColorScheme::atomOneDarkReasonable);
    EXPECT_EQ(preferences->codeColorScheme(true), CodeBlockColorScheme::githubDark);
    EXPECT_EQ(preferences->onboardingTourStep(), OnboardingTourStep::stepCustomize);
    EXPECT_EQ(preferences->customHost(), "llm.example.test");
}

TEST_F(AppPreferencesTest, StoredSettingsAreReadAtEachAccess) {
    auto preferences = start();
    store.set("defaultModel", "gpt-4");
    EXPECT_EQ(preferences->defaultModel(), "gpt-4");
    // A published one was read once, at start.
    store.set("useLaTeX", true);
    EXPECT_FALSE(preferences->useLaTeX());

    // Clearing an optional string removes its key.
    preferences->setCodeFontName("Fira Code");
    EXPECT_EQ(store.get("codeFontName"), json("Fira Code"));
    preferences->setCodeFontName(std::nullopt);
    EXPECT_FALSE(store.contains("codeFontName"));
    EXPECT_EQ(preferences->codeFontName(), std::nullopt);
}

TEST_F(AppPreferencesTest, TheChatWindowSizeComesFromTheRememberedFrame) {
    const std::vector<std::pair<json, AppPreferences::Size>> cases = {
        {"10 20 1200 700 0 0 1920 1080", {1200, 700}},
        {"10  20 1200.5 700", {1200.5, 700}},
        {"10 20 1200", {1000, 600}},
        {"10 20 wide 700 0 0 1920 1080", {1000, 600}},
        {"10 20 1200 700px", {1000, 600}},
        {json::array({10, 20, 1200, 700}), {1000, 600}},
    };
    for (const auto& [frame, expected] : cases) {
        clearStore();
        store.set(AppPreferences::chatWindowFrameKey, frame);
        EXPECT_EQ(start()->defaultChatWindowSize(), expected) << frame.dump();
    }
}

TEST_F(AppPreferencesTest, CataloguesLoadFromTheStoreAndAnUnreadableOneStaysEmpty) {
    const json models = json::array({{{"id", "mistral-small"}}, {{"id", "mistral-large"}}});
    store.set("mistralModels", models);
    store.set("ollamaModels", models.dump());  // data kept as text decodes too
    store.set("openrouterModels", "{not json");
    auto preferences = start();

    EXPECT_EQ(preferences->mistralModels(), models);
    EXPECT_EQ(preferences->ollamaModels(), models);
    EXPECT_EQ(store.get("ollamaModels"), models);
    EXPECT_TRUE(preferences->openRouterModels().empty());
    EXPECT_EQ(store.get("openrouterModels"), json("{not json"));

    preferences->setOpenRouterModels(models);
    EXPECT_EQ(store.get("openrouterModels"), models);
}

TEST_F(AppPreferencesTest, SetValueRejectsAValueOfAnotherTypeAndWritesNothing) {
    auto preferences = start();
    const std::vector<std::pair<Setting, json>> invalid = {
        {Setting::pageCountThreshold, "many"},   {Setting::pageCountThreshold, 1.5},
        {Setting::pageCountThreshold, 1e10},     {Setting::useMarkdown, 1},
        {Setting::colorScheme, "purple"},        {Setting::defaultModel, nullptr},
        {Setting::ollamaModels, json::object()}, {Setting::defaultTemperature, "warm"},
    };
    const json before = store.snapshot();
    for (const auto& [setting, value] : invalid) {
        EXPECT_THROW(preferences->setValue(setting, value), std::invalid_argument)
            << settingDescriptor(setting).key << " = " << value.dump();
    }
    EXPECT_EQ(store.snapshot(), before);
}

TEST_F(AppPreferencesTest, ObserversHearTheKeyOfEachChangeUntilTheirSubscriptionEnds) {
    auto preferences = start();
    std::vector<std::string> heard;
    auto subscription =
        preferences->subscribe([&](std::string_view key) { heard.emplace_back(key); });

    preferences->setUseLaTeX(true);
    preferences->setPageCountThreshold(10);
    preferences->setCustomHost("h");
    preferences->setOpenAIKey("test-key-123");
    preferences->setLastUpdated(std::chrono::system_clock::now());
    subscription.cancel();
    preferences->setUseLaTeX(false);

    EXPECT_THAT(heard, ElementsAre("useLaTeX", "pageCountThreshold", "openAICustomHost",
                                   "openAIKey", "lastUpdated"));
}

TEST_F(AppPreferencesTest, TheKeyGoesToTheSecretStoreOnlyAndClearingRemovesTheItem) {
    {
        auto preferences = start();
        EXPECT_EQ(preferences->openAIKey(), "");
        preferences->setOpenAIKey("test-key-123");
        EXPECT_EQ(preferences->openAIKey(), "test-key-123");
        EXPECT_TRUE(preferences->waitForSecretWrites());
    }
    EXPECT_EQ(secrets.read("openAIKey"), "test-key-123");
    EXPECT_EQ(store.snapshot().dump().find("test-key-123"), std::string::npos);

    auto preferences = start();
    EXPECT_EQ(preferences->openAIKey(), "test-key-123");
    preferences->setOpenAIKey("");
    EXPECT_TRUE(preferences->waitForSecretWrites());
    EXPECT_EQ(secrets.read("openAIKey"), std::nullopt);

    // Pending writes finish before the object goes.
    for (int i = 0; i < 20; ++i) preferences->setOpenAIKey("test-key-" + std::to_string(i));
    preferences.reset();
    EXPECT_EQ(secrets.read("openAIKey"), "test-key-19");
}

TEST_F(AppPreferencesTest, AFailedSecretWriteIsToldOnceByTheWait) {
    LogCapture log;
    auto preferences = start(/*failingSecrets=*/true);
    preferences->setOpenAIKey("test-key-123");
    EXPECT_FALSE(preferences->waitForSecretWrites());
    EXPECT_EQ(preferences->openAIKey(), "test-key-123");
    EXPECT_TRUE(preferences->waitForSecretWrites());
    for (const auto& line : log.lines()) EXPECT_EQ(line.find("test-key-123"), std::string::npos);
}

TEST(SettingsTableTest, KeysAreUniqueAndEveryDefaultIsAcceptedByItsOwnType) {
    std::set<std::string> keys;
    for (const auto& setting : settingDescriptors()) {
        EXPECT_TRUE(keys.insert(setting.key).second) << setting.key;
        EXPECT_EQ(acceptedValue(setting, setting.defaultValue), setting.defaultValue)
            << setting.key;
        EXPECT_EQ(findSetting(setting.key), &setting);
    }
    EXPECT_EQ(findSetting("openAIKey"), nullptr);
}

TEST(CodeBlockColorSchemeTest, RawStringsAreTheStyleFileNames) {
    const std::vector<std::pair<CodeBlockColorScheme, std::string_view>> cases = {
        {CodeBlockColorScheme::defaultTheme, "default"},
        {CodeBlockColorScheme::atomOneDarkReasonable, "atom-one-dark-reasonable"},
        {CodeBlockColorScheme::a11yDark, "a11y-dark"},
        {CodeBlockColorScheme::xt256, "xt256"},
    };
    for (const auto& [scheme, raw] : cases) {
        EXPECT_EQ(rawValue(scheme), raw);
        EXPECT_EQ(codeBlockColorSchemeFromRaw(raw), scheme);
    }

    std::set<std::string_view> raws;
    for (std::size_t i = 0; i < codeBlockColorSchemeCount; ++i) {
        const auto scheme = codeBlockColorSchemeAt(i);
        raws.insert(rawValue(scheme));
        EXPECT_EQ(codeBlockColorSchemeFromRaw(rawValue(scheme)), scheme) << caseName(scheme);
    }
    EXPECT_EQ(raws.size(), 71u);
    EXPECT_EQ(codeBlockColorSchemeFromRaw("defaultTheme"), std::nullopt);
    EXPECT_EQ(codeBlockColorSchemeFromRaw("Github"), std::nullopt);
}

}  // namespace
}  // namespace folvane
