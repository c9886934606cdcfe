#include <gtest/gtest.h>

#include <chrono>
#include <ctime>

#include "speech/ScreenCaptureGate.h"

namespace folvane {
namespace {

struct GateCase {
    std::optional<std::string_view> provider;
    bool openAIKeyEmpty;
    std::optional<std::string> alertTitle;  // nothing: the capture goes ahead
};

TEST(ScreenCaptureGateTest, OnlyTheOpenAIRouteMayCaptureWhateverTheKey) {
    const std::string keyRequired = "OpenAI API Key Required";
    const std::string openAIRequired = "OpenAI Required";
    const GateCase cases[] = {
        {std::nullopt, true, std::nullopt},  // built-in route, no key yet: fails later
        {std::nullopt, false, std::nullopt},
        {"OpenAI", true, std::nullopt},
        {"OpenAI", false, std::nullopt},
        // Providers that can reach an OpenAI model are refused all the same.
        {"Azure OpenAI", true, keyRequired},
        {"Azure OpenAI", false, openAIRequired},
        {"OpenRouter", true, keyRequired},
        {"OpenRouter", false, openAIRequired},
        {"Ollama", false, openAIRequired},
        {"OpenAI-compatible Server (beta)", true, keyRequired},
        {"openai", false, openAIRequired},  // the name is exact
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.provider.value_or("(built-in)")) +
                     (c.openAIKeyEmpty ? " without key" : " with key"));
        const auto alert = screenCaptureAlert(c.provider, c.openAIKeyEmpty);
        ASSERT_EQ(alert.has_value(), c.alertTitle.has_value());
        if (!alert) continue;
        EXPECT_EQ(alert->title, *c.alertTitle);
        EXPECT_EQ(alert->text, c.openAIKeyEmpty
                                   ? "This feature requires GPT 4 Vision. Please set up your "
                                     "OpenAI API Key in [Settings] > [Models]"
                                   : "This feature requires GPT 4 Vision. Please change the API "
                                     "provider to OpenAI to continue");
    }
}

TEST(ScreenCaptureGateTest, TheFileLiesInTheDataDirectoryNamedByTheLocalTime) {
    std::tm local{};
    local.tm_year = 2024 - 1900;
    local.tm_mon = 2;
    local.tm_mday = 5;
    local.tm_hour = 14;
    local.tm_min = 7;
    local.tm_sec = 9;
    local.tm_isdst = -1;
    const auto time = std::chrono::system_clock::from_time_t(std::mktime(&local));
    const auto path = screenshotFilePath("/data/co.tessavel.Folvane", time);
    EXPECT_EQ(path.parent_path(), "/data/co.tessavel.Folvane");
    const std::string name = path.filename().string();
    EXPECT_TRUE(name.starts_with("Folvane_-2024-03-05_2-07-09_")) << name;
    EXPECT_TRUE(name.ends_with(".png")) << name;
}

}  // namespace
}  // namespace folvane
