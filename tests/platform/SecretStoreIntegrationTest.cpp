// Runs inside a private D-Bus session with an unlocked gnome-keyring and
// throw-away HOME and XDG folders (tests/scripts/with-secret-service.sh).

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <random>

#include "platform/AppPaths.h"
#include "platform/LibsecretSecretStore.h"
#include "store/AppPreferences.h"
#include "support/CliRunner.h"
#include "support/TempDir.h"

namespace folvane {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::string requiredEnvironment(const char* name) {
    const char* value = std::getenv(name);
    if (!value || !*value) throw std::runtime_error(std::string(name) + " is not set");
    return value;
}

// A key that no file could hold by chance.
std::string uniqueFakeKey() {
    std::random_device random;
    return "test-key-123-" + std::to_string(random()) + std::to_string(random());
}

// Every regular file under the folders whose bytes contain the needle.
std::vector<fs::path> filesContaining(const std::vector<fs::path>& folders,
                                      const std::string& needle, int* filesSeen) {
    std::vector<fs::path> found;
    for (const auto& folder : folders) {
        if (!fs::exists(folder)) continue;
        for (const auto& entry : fs::recursive_directory_iterator(folder)) {
            if (!entry.is_regular_file()) continue;
            ++*filesSeen;
            if (test::readFile(entry.path()).find(needle) != std::string::npos) {
                found.push_back(entry.path());
            }
        }
    }
    return found;
}

// Sets an environment variable for the life of the object.
class ScopedEnvironment {
  public:
    ScopedEnvironment(const char* name, const char* value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old;
        if (value) {
            setenv(name, value, 1);
        } else {
            unsetenv(name);
        }
    }
    ~ScopedEnvironment() {
        if (old_) {
            setenv(name_, old_->c_str(), 1);
        } else {
            unsetenv(name_);
        }
    }

  private:
    const char* name_;
    std::optional<std::string> old_;
};

// First, while GLib has no bus connection of its own yet.
TEST(SecretStoreIntegrationTest, WithNoReachableBusTheKeyStaysInMemoryForTheSession) {
    test::TempDir home;
    const std::string configDirectory = home / "config";
    const std::string key = uniqueFakeKey();
    struct Case {
        const char* busAddress;  // null: unset
        const char* runtimeDirectory;
    };
    const std::string emptyRuntime = home / "run";
    fs::create_directories(emptyRuntime);
    for (const auto& c : {Case{"unix:path=/nonexistent/folvane-bus", nullptr},
                          Case{nullptr, emptyRuntime.c_str()}, Case{nullptr, nullptr}}) {
        SCOPED_TRACE(c.busAddress ? c.busAddress : "(no bus address)");
        ScopedEnvironment bus("DBUS_SESSION_BUS_ADDRESS", c.busAddress);
        ScopedEnvironment runtime("XDG_RUNTIME_DIR", c.runtimeDirectory);

        const auto started = std::chrono::steady_clock::now();
        auto preferences = AppPreferences::open(configDirectory);
        // No hang: well under the 25-second D-Bus timeout, with room for a busy machine.
        EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(10));
        EXPECT_FALSE(preferences->isSecretStoreAvailable());
        EXPECT_THAT(preferences->secretStoreLocation(), HasSubstr("memory"));

        preferences->setOpenAIKey(key);
        EXPECT_TRUE(preferences->waitForSecretWrites());
        EXPECT_EQ(preferences->openAIKey(), key);
        preferences->setUseLaTeX(true);
        preferences.reset();

        EXPECT_EQ(AppPreferences::open(configDirectory)->openAIKey(), "");
        int filesSeen = 0;
        EXPECT_THAT(filesContaining({home.path()}, key, &filesSeen), IsEmpty());
        EXPECT_GT(filesSeen, 0);
    }
}

TEST(SecretStoreIntegrationTest, TheKeyRoundTripsThroughTheSecretServiceAndNeverReachesAFile) {
    const AppPaths paths = AppPaths::standard();
    const fs::path dataHome = requiredEnvironment("XDG_DATA_HOME");
    const fs::path configHome = requiredEnvironment("XDG_CONFIG_HOME");
    const fs::path keyrings = requiredEnvironment("FOLVANE_TEST_KEYRING_DIR");
    ASSERT_TRUE(LibsecretSecretStore::isServiceReachable());
    const std::string key = uniqueFakeKey();

    {
        auto preferences = AppPreferences::open(paths.configDirectory);
        ASSERT_TRUE(preferences->isSecretStoreAvailable());
        EXPECT_EQ(preferences->openAIKey(), "");
        preferences->setOpenAIKey(key);
        ASSERT_TRUE(preferences->waitForSecretWrites());
        preferences->setDefaultModel("gpt-4");
    }

    // The item is the prefixed name, and only that name finds it.
    EXPECT_EQ(LibsecretSecretStore(AppPreferences::secretItemPrefix).read("openAIKey"), key);
    EXPECT_EQ(LibsecretSecretStore("co.tessavel.Other_").read("openAIKey"), std::nullopt);
    EXPECT_EQ(LibsecretSecretStore("").read("co.tessavel.Folvane_openAIKey"), key);

    auto preferences = AppPreferences::open(paths.configDirectory);
    EXPECT_EQ(preferences->openAIKey(), key);
    EXPECT_EQ(preferences->defaultModel(), "gpt-4");

    int filesSeen = 0;
    EXPECT_THAT(filesContaining({dataHome, configHome}, key, &filesSeen), IsEmpty());
    ASSERT_TRUE(fs::exists(paths.configDirectory + "/settings.json"));
    ASSERT_FALSE(fs::is_empty(keyrings));  // the keyring file was among those read
    EXPECT_EQ(fs::relative(keyrings, dataHome).string().rfind("..", 0), std::string::npos);

    preferences->setOpenAIKey("");
    ASSERT_TRUE(preferences->waitForSecretWrites());
    preferences.reset();
    EXPECT_EQ(AppPreferences::open(paths.configDirectory)->openAIKey(), "");
    EXPECT_EQ(LibsecretSecretStore(AppPreferences::secretItemPrefix).read("openAIKey"),
              std::nullopt);
}

TEST(SecretStoreIntegrationTest, TheCliStoresTheKeyFromStandardInputAndClearsIt) {
    test::TempDir home;
    const std::map<std::string, std::string> environment = {{"XDG_CONFIG_HOME", home / "config"},
                                                            {"XDG_DATA_HOME", home / "data"}};
    const std::string key = uniqueFakeKey();

    const auto refused = test::runCli({"key", "set", key}, environment);
    EXPECT_NE(refused.exitCode, 0);
    EXPECT_THAT(refused.err, HasSubstr("standard input"));
    EXPECT_EQ(refused.err.find(key), std::string::npos);

    const auto empty = test::runCli({"key", "set"}, environment, "  \n");
    EXPECT_NE(empty.exitCode, 0);

    // A key that its check refuses (here: no server where customHost points)
    // is not stored, and the check's words say why.
    ASSERT_EQ(
        test::runCli({"settings", "set", "openAICustomHost", "127.0.0.1:1"}, environment).exitCode,
        0);
    const auto unchecked = test::runCli({"key", "set"}, environment, key + "\n");
    EXPECT_EQ(unchecked.exitCode, 1);
    EXPECT_THAT(unchecked.err, HasSubstr("Could not connect to the server."));
    EXPECT_EQ(unchecked.err.find(key), std::string::npos);
    EXPECT_EQ(LibsecretSecretStore(AppPreferences::secretItemPrefix).read("openAIKey"),
              std::nullopt);

    const auto stored =
        test::runCli({"key", "set", "--no-check"}, environment, "  " + key + "  \n");
    ASSERT_EQ(stored.exitCode, 0) << stored.err;
    EXPECT_THAT(stored.out, HasSubstr("Secret Service"));
    EXPECT_EQ(LibsecretSecretStore(AppPreferences::secretItemPrefix).read("openAIKey"), key);

    const auto status = test::runCli({"key", "status"}, environment);
    EXPECT_EQ(status.exitCode, 0);
    EXPECT_THAT(status.out, HasSubstr("set"));
    EXPECT_THAT(status.out, HasSubstr("Secret Service"));
    EXPECT_EQ(status.out.find(key), std::string::npos);

    const auto cleared = test::runCli({"key", "clear"}, environment);
    EXPECT_EQ(cleared.exitCode, 0) << cleared.err;
    EXPECT_EQ(LibsecretSecretStore(AppPreferences::secretItemPrefix).read("openAIKey"),
              std::nullopt);
    EXPECT_THAT(test::runCli({"key", "status"}, environment).out, HasSubstr("not set"));

    // With no Secret Service the key is refused: it would be gone when the command ends.
    auto noBus = environment;
    noBus["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + (home / "no-bus");
    const auto unkept = test::runCli({"key", "set"}, noBus, key + "\n");
    EXPECT_NE(unkept.exitCode, 0);
    EXPECT_THAT(unkept.err, HasSubstr("cannot be kept"));
    EXPECT_THAT(test::runCli({"key", "status"}, noBus).out, HasSubstr("memory"));
}

TEST(SecretStoreIntegrationTest, ACustomModelsKeyGoesToTheSecretServiceAndBack) {
    test::TempDir home;
    const std::map<std::string, std::string> environment = {{"XDG_CONFIG_HOME", home / "config"},
                                                            {"XDG_DATA_HOME", home / "data"}};
    const std::string key = uniqueFakeKey();

    const auto added =
        test::runCli({"models", "add", "localai", "--endpoint",
                      "http://127.0.0.1:8080/v1/chat/completions", "--api-key-stdin"},
                     environment, key + "\n");
    ASSERT_EQ(added.exitCode, 0) << added.err;
    EXPECT_THAT(added.err, IsEmpty());
    const std::string item =
        "custom-model-" + added.out.substr(0, added.out.find('\n')) + "-api-key";
    EXPECT_EQ(LibsecretSecretStore(AppPreferences::secretItemPrefix).read(item), key);

    const auto listing = test::runCli({"models", "list", "--json"}, environment);
    EXPECT_EQ(listing.exitCode, 0) << listing.err;
    EXPECT_THAT(listing.out, HasSubstr("api-key"));
    int filesSeen = 0;
    EXPECT_THAT(filesContaining({home.path()}, key, &filesSeen), IsEmpty());
    EXPECT_GT(filesSeen, 0);

    const auto removed =
        test::runCli({"models", "remove", added.out.substr(0, added.out.find('\n'))}, environment);
    EXPECT_EQ(removed.exitCode, 0) << removed.err;
    EXPECT_EQ(LibsecretSecretStore(AppPreferences::secretItemPrefix).read(item), std::nullopt);
}

}  // namespace
}  // namespace folvane
