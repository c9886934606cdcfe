#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <vector>

#include "platform/MemorySecretStore.h"
#include "store/AppPreferences.h"
#include "store/JsonFileKeyValueStore.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

namespace folvane {
namespace {

using test::LogCapture;

namespace fs = std::filesystem;
using json = nlohmann::json;
using ::testing::HasSubstr;

std::vector<fs::path> filesIn(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder)) files.push_back(entry.path());
    return files;
}

class JsonFileKeyValueStoreTest : public ::testing::Test {
  protected:
    test::TempDir home;
    fs::path folder = home.path() / "config" / "co.tessavel.Folvane";
    fs::path file = folder / "settings.json";
};

TEST_F(JsonFileKeyValueStoreTest, TheFirstWriteMakesTheFolderAndAnotherStoreReadsItBack) {
    {
        JsonFileKeyValueStore store(file);
        EXPECT_FALSE(fs::exists(folder));  // reading alone writes nothing
        EXPECT_EQ(store.get("useMarkdown"), std::nullopt);
        store.set("useMarkdown", false);
        store.set("defaultModel", "gpt-4");
        store.set("mistralModels", json::array({{{"id", "m"}}}));
    }
    JsonFileKeyValueStore store(file);
    EXPECT_EQ(store.get("useMarkdown"), json(false));
    EXPECT_EQ(store.get("defaultModel"), json("gpt-4"));
    EXPECT_EQ(store.get("mistralModels"), json::array({{{"id", "m"}}}));
    EXPECT_TRUE(store.contains("defaultModel"));
    EXPECT_FALSE(store.contains("fontName"));
}

TEST_F(JsonFileKeyValueStoreTest, EachChangeLeavesOneValidFileAndNoTemporaryFiles) {
    JsonFileKeyValueStore store(file);
    for (int i = 0; i < 50; ++i) {
        store.set("counter", i);
        store.set("text", std::string(static_cast<std::size_t>(i) * 100, 'x'));
        const auto onDisk = json::parse(test::readFile(file));
        ASSERT_EQ(onDisk["counter"], i);
    }
    store.remove("text");
    EXPECT_EQ(json::parse(test::readFile(file)), json({{"counter", 49}}));
    EXPECT_EQ(filesIn(folder), std::vector<fs::path>{file});

    struct stat status {};
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(JsonFileKeyValueStoreTest, AFileThatIsNotAJsonObjectIsMovedAsideUnchanged) {
    for (const std::string bytes : {"{\"useMarkdown\": fals", "[1, 2, 3]", "", "\"text\""}) {
        SCOPED_TRACE(bytes);
        fs::remove_all(folder);
        test::writeFile(file, bytes);
        LogCapture log;

        JsonFileKeyValueStore store(file);
        EXPECT_EQ(store.get("useMarkdown"), std::nullopt);
        EXPECT_FALSE(fs::exists(file));
        const auto files = filesIn(folder);
        ASSERT_EQ(files.size(), 1u);
        EXPECT_THAT(files[0].filename().string(), HasSubstr("settings.json.corrupt-"));
        EXPECT_EQ(test::readFile(files[0]), bytes);
        ASSERT_EQ(log.lines().size(), 1u);
        EXPECT_THAT(log.lines()[0], HasSubstr(files[0].string()));

        // The next write makes a new file beside the one kept aside.
        store.set("useMarkdown", true);
        EXPECT_EQ(filesIn(folder).size(), 2u);
        EXPECT_EQ(json::parse(test::readFile(file)), json({{"useMarkdown", true}}));
    }
}

TEST_F(JsonFileKeyValueStoreTest, TwoCorruptFilesInOneSecondAreBothKept) {
    test::writeFile(file, "first");
    { JsonFileKeyValueStore store(file); }
    test::writeFile(file, "second");
    { JsonFileKeyValueStore store(file); }
    std::vector<std::string> kept;
    for (const auto& path : filesIn(folder)) kept.push_back(test::readFile(path));
    EXPECT_THAT(kept, ::testing::UnorderedElementsAre("first", "second"));
}

TEST_F(JsonFileKeyValueStoreTest, ASettingsFileThatIsALinkIsWrittenAtItsTarget) {
    const fs::path target = home.path() / "dotfiles" / "settings.json";
    test::writeFile(target, R"({"useLaTeX": true})");
    fs::create_directories(folder);
    fs::create_symlink(target, file);

    JsonFileKeyValueStore store(file);
    EXPECT_EQ(store.get("useLaTeX"), json(true));
    store.set("alwaysOnTop", true);
    EXPECT_TRUE(fs::is_symlink(file));
    EXPECT_EQ(json::parse(test::readFile(target)),
              json({{"useLaTeX", true}, {"alwaysOnTop", true}}));
}

TEST_F(JsonFileKeyValueStoreTest, PreferencesOverACorruptFileStartFromTheDefaults) {
    test::writeFile(file, "{\"useMarkdown\": false,");
    LogCapture log;
    AppPreferences preferences(std::make_unique<JsonFileKeyValueStore>(file),
                               std::make_unique<MemorySecretStore>("test_"));

    EXPECT_TRUE(preferences.useMarkdown());
    EXPECT_EQ(preferences.pageCountThreshold(), 300);
    const auto onDisk = json::parse(test::readFile(file));
    EXPECT_EQ(onDisk["useMarkdown"], true);
    EXPECT_EQ(filesIn(folder).size(), 2u);
}

}  // namespace
}  // namespace folvane
