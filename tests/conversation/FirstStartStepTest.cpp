#include <gtest/gtest.h>

#include "conversation/FirstStartStep.h"
#include "platform/MemorySecretStore.h"
#include "store/AppPreferences.h"
#include "store/MemoryKeyValueStore.h"

namespace folvane {
namespace {

TEST(FirstStartStepTest, ANewInstallationStartsSmartAndAnOlderOneKeepsItsChoice) {
    struct Case {
        const char* what;
        bool openedBefore;
        std::optional<DataIngestionStrategy> stored;
        DataIngestionStrategy expected;
        int events;
    };
    const std::vector<Case> cases{
        {"new installation", false, std::nullopt, DataIngestionStrategy::smart, 1},
        {"opened before, never chose", true, std::nullopt, DataIngestionStrategy::local, 0},
        {"opened before, chose openai", true, DataIngestionStrategy::openai,
         DataIngestionStrategy::openai, 0},
        {"never opened, chose openai", false, DataIngestionStrategy::openai,
         DataIngestionStrategy::openai, 1},
    };
    for (const auto& c : cases) {
        auto store = std::make_unique<MemoryKeyValueStore>();
        if (c.openedBefore) store->set("onboardingOpened", true);
        if (c.stored) store->set("dataIngestionStrategy", std::string(rawValue(*c.stored)));
        AppPreferences preferences(std::move(store), std::make_unique<MemorySecretStore>("test_"));
        std::vector<std::string> events;
        FirstStartStep::run(preferences, [&](const std::string& name) { events.push_back(name); });
        EXPECT_EQ(preferences.dataIngestionStrategy(), c.expected) << c.what;
        EXPECT_TRUE(preferences.isStored(Setting::dataIngestionStrategy)) << c.what;
        EXPECT_TRUE(preferences.onboardingOpened()) << c.what;
        ASSERT_EQ(events.size(), size_t(c.events)) << c.what;
        if (c.events) {
            EXPECT_EQ(events.front(), "onboarding_opened");
        }
    }
}

}  // namespace
}  // namespace folvane
