// folvane-cli settings, run as a program against a fresh settings folder with
// no Secret Service on the bus.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "store/SettingDescriptor.h"
#include "support/CliUser.h"
#include "support/ReadOnlyPath.h"

namespace folvane {
namespace {

using json = nlohmann::json;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class SettingsCommandTest : public test::CliUser {
  protected:
    std::string settingsFile = configDir + "/settings.json";

    test::CliResult settings(const std::vector<std::string>& args) {
        std::vector<std::string> all{"settings"};
        all.insert(all.end(), args.begin(), args.end());
        return cli(all);
    }
};

TEST_F(SettingsCommandTest, ListShowsEverySettingOnceAsJson) {
    const auto result = settings({"list"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("useMarkdown = true\n"));
    EXPECT_THAT(result.out, HasSubstr("defaultModel = \"gpt-3.5-turbo\"\n"));
    EXPECT_THAT(result.out, HasSubstr("fontName = null\n"));
    EXPECT_THAT(result.out, HasSubstr("codeColorSchemeDark = \"github-dark\"\n"));
    EXPECT_THAT(result.out, HasSubstr("openAICustomHost = \"\"\n"));
    EXPECT_THAT(result.out, HasSubstr("usageEventsCollector = \"\"\n"));
    EXPECT_THAT(result.out, HasSubstr("onDeviceSpeech = false\n"));
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'),
              static_cast<long>(settingCount));
}

TEST_F(SettingsCommandTest, SetParsesByTypeAndGetPrintsThePlainValue) {
    const std::vector<std::vector<std::string>> changes = {
        {"pageCountThreshold", "120", "120"},
        {"defaultTemperature", "0.7", "0.7"},
        {"useLaTeX", "true", "true"},
        {"customModelId", "0", "0"},
        {"colorScheme", "dark", "dark"},
        {"codeColorSchemeLight", "a11y-light", "a11y-light"},
        {"userInstruction", "Answer in French.", "Answer in French."},
        {"fontName", "DejaVu Sans", "DejaVu Sans"},
        {"fontName", "", ""},
        {"ollamaModels", R"([{"name":"llama3"}])", R"([{"name":"llama3"}])"},
    };
    for (const auto& change : changes) {
        SCOPED_TRACE(change[0] + " " + change[1]);
        const auto set = settings({"set", change[0], change[1]});
        ASSERT_EQ(set.exitCode, 0) << set.err;
        EXPECT_EQ(settings({"get", change[0]}).out, change[2] + "\n");
    }
    const auto onDisk = json::parse(test::readFile(settingsFile));
    EXPECT_EQ(onDisk["defaultTemperature"], 0.7);
    EXPECT_EQ(onDisk["useLaTeX"], true);
    EXPECT_FALSE(onDisk.contains("fontName"));
}

TEST_F(SettingsCommandTest, BadKeysAndValuesAreUsageErrorsThatChangeNothing) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"get", "foo"}, "Unknown setting: foo"},
        {{"set", "openAIKey", "x"}, "key set"},
        {{"set", "pageCountThreshold", "many"},
         "Invalid value for pageCountThreshold: expected an integer"},
        {{"set", "pageCountThreshold", "12x"}, "expected an integer"},
        {{"set", "pageCountThreshold", "99999999999"}, "expected an integer from"},
        {{"set", "defaultTemperature", "warm"}, "expected a number"},
        {{"set", "useMarkdown", "yes"}, "expected true or false"},
        {{"set", "fontLeading", "Loose"}, "expected one of tight, standard, loose"},
        {{"set", "mistralModels", "{}"}, "expected a JSON array"},
        {{"set", "fontSize", "-3"}, "Invalid value for fontSize: expected a number of at least 1"},
        {{"set", "indexingParallelTask", "0"}, "expected an integer of at least 1"},
        {{"set", "defaultTemperature", "2.5"}, "expected a number from 0 to 2"},
        {{"set", "defaultContextLimit", "-1"}, "expected an integer of at least 0"},
        {{"set", "useMarkdown"}, "Usage"},
        {{"frobnicate"}, "Unknown settings action"},
        {{}, "Usage"},
    };
    for (const auto& [args, message] : cases) {
        const auto result = settings(args);
        EXPECT_EQ(result.exitCode, 2) << message;
        EXPECT_THAT(result.err, HasSubstr(message));
    }
    EXPECT_THAT(settings({"get", "pageCountThreshold"}).out, StartsWith("300\n"));
}

TEST_F(SettingsCommandTest, ACustomModelIdMustNameARow) {
    const auto result = settings({"set", "customModelId", "42"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("There is no custom model with the id 42."));
    EXPECT_EQ(settings({"get", "customModelId"}).out, "0\n");
}

TEST_F(SettingsCommandTest, AChangeThatCannotBeWrittenSaysSoAndKeepsTheFile) {
    ASSERT_EQ(settings({"set", "useLaTeX", "false"}).exitCode, 0);
    const std::string before = test::readFile(settingsFile);
    // A temporary file cannot be made beside settings.json, so no new file can
    // take its place.
    const std::string folder = home / "config/co.tessavel.Folvane";
    test::ReadOnlyPath readOnly(folder);
    if (!readOnly.active()) GTEST_SKIP() << "cannot make a read-only folder here";

    const auto result = settings({"set", "useLaTeX", "true"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("The setting useLaTeX was not saved"));
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(test::readFile(settingsFile), before);
    EXPECT_EQ(settings({"get", "useLaTeX"}).out, "false\n");
}

TEST_F(SettingsCommandTest, TheFirstStartChoosesSmartIndexingOnlyForANewInstallation) {
    EXPECT_EQ(settings({"get", "dataIngestionStrategy"}).out, "smart\n");
    EXPECT_EQ(settings({"get", "onboardingOpened"}).out, "true\n");

    // One that was opened before and never chose keeps the on-device way.
    test::writeFile(settingsFile, R"({"onboardingOpened": true})");
    EXPECT_EQ(settings({"get", "dataIngestionStrategy"}).out, "local\n");
}

}  // namespace
}  // namespace folvane
