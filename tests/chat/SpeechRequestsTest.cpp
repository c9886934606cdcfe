#include <gtest/gtest.h>

#include <regex>

#include "chat/AppChatService.h"
#include "chat/AppChatServiceError.h"
#include "providers/GPTEncoder.h"
#include "store/AppPreferences.h"
#include "support/LogCapture.h"
#include "support/LoopbackHttpClient.h"
#include "support/LoopbackServer.h"
#include "support/TempDir.h"
#include "support/TestDatabase.h"

namespace folvane {
namespace {

using nlohmann::json;
using test::LoopbackServer;

// Transcription and speech through the whole built-in route: the settings, the
// router's OpenAI client and a real HTTP server on the loopback.
class SpeechRequestsTest : public ::testing::Test {
  protected:
    test::TempDir dir;
    std::shared_ptr<SqliteConnection> db = test::makeDatabase(dir / "db.sqlite3");
    AppPreferences preferences;
    LoopbackServer server;
    AppChatService service{
        db, preferences, std::make_shared<test::LoopbackHttpClient>(),
        std::make_shared<GPTEncoder>(std::filesystem::path(test::resourceDir()))};
    const std::string key = "test-" + std::to_string(::getpid());

    void SetUp() override {
        preferences.setCustomHost(server.baseURL().substr(std::string("http://").size()));
        preferences.setOpenAIKey(key);
        service.setSpeechDirectory(dir.path() / "data");
    }

    std::map<std::string, test::RecordedPart> partsOf(const test::RecordedRequest& request) {
        std::map<std::string, test::RecordedPart> parts;
        for (const auto& part : request.parts) parts[part.name] = part;
        return parts;
    }
};

TEST_F(SpeechRequestsTest, TranscriptionSendsTheFileWithWhisperAndTheLanguageOnlyWhenSet) {
    server.setHandler(test::plainResponse(R"({"text":"open the pod bay doors"})"));
    const std::filesystem::path recording = dir.path() / "recording-1234.m4a";
    test::writeFile(recording, std::string("\0\x01sound bytes", 13));

    struct Case {
        std::string code;
        std::optional<std::string> language;
    };
    for (const Case& c : {Case{"", std::nullopt}, Case{"fr", "fr"}}) {
        SCOPED_TRACE(c.code);
        preferences.setSttLanguageCode(c.code);
        EXPECT_EQ(service.transcribe(recording), "open the pod bay doors");
        const auto request = server.lastRequest();
        EXPECT_EQ(request.method, "POST");
        EXPECT_EQ(request.target, "/v1/audio/transcriptions");
        EXPECT_EQ(request.header("Authorization"), "Bearer " + key);
        auto parts = partsOf(request);
        EXPECT_EQ(parts["file"].filename, "recording-1234.m4a");
        EXPECT_EQ(parts["file"].content, std::string("\0\x01sound bytes", 13));
        EXPECT_EQ(parts["model"].content, "whisper-1");
        EXPECT_FALSE(parts.count("prompt"));
        EXPECT_FALSE(parts.count("temperature"));
        if (c.language) {
            EXPECT_EQ(parts["language"].content, *c.language);
        } else {
            EXPECT_FALSE(parts.count("language"));
        }
    }
}

TEST_F(SpeechRequestsTest, SpeechAsksForMp3InTheChosenVoiceAndStoresTheBodyInADatedFile) {
    server.setHandler(test::plainResponse("ID3 mp3 bytes", 200, "audio/mpeg"));
    preferences.setVoiceModel("tts-1-hd");
    preferences.setSpeechVoice("nova");

    const std::filesystem::path file = service.generateSpeech("Hello there.");

    const auto request = server.lastRequest();
    EXPECT_EQ(request.target, "/v1/audio/speech");
    EXPECT_EQ(json::parse(request.body), json::parse(R"({"model":"tts-1-hd","input":"Hello there.",
        "voice":"nova","response_format":"mp3","speed":1.0})"));
    EXPECT_EQ(file.parent_path(), dir.path() / "data");  // made when missing
    EXPECT_TRUE(
        std::regex_match(file.filename().string(),
                         std::regex(R"(Speech-\d{4}-\d\d-\d\d_\d{1,2}-\d\d-\d\d_(AM|PM)\.mp3)")))
        << file;
    EXPECT_EQ(test::readFile(file), "ID3 mp3 bytes");
}

TEST_F(SpeechRequestsTest, ADirectoryThatCannotBeMadeIsLoggedAndTheRequestStillGoesOut) {
    server.setHandler(test::plainResponse("bytes", 200, "audio/mpeg"));
    test::writeFile(dir.path() / "blocked", "a file where the folder should be");
    service.setSpeechDirectory(dir.path() / "blocked" / "data");
    test::LogCapture log;
    EXPECT_ANY_THROW(service.generateSpeech("Hi"));  // the file cannot be written there
    EXPECT_TRUE(log.mentions("Could not create directory: "));
    EXPECT_EQ(server.requests().size(), 1u);
}

TEST_F(SpeechRequestsTest, WithoutAKeyNeitherSendsAndBothSayTheKeyIsMissing) {
    preferences.setOpenAIKey("");
    const std::filesystem::path recording = dir.path() / "r.m4a";
    test::writeFile(recording, "x");
    const std::string words =
        AppChatServiceError::description(AppChatServiceError::Case::apiKeyMissing);
    for (const auto& call : std::vector<std::function<void()>>{
             [&] { service.transcribe(recording); }, [&] { service.generateSpeech("Hi"); }}) {
        try {
            call();
            ADD_FAILURE() << "no error";
        } catch (const AppChatServiceError& error) {
            EXPECT_EQ(error.what(), words);
        }
    }
    EXPECT_TRUE(server.requests().empty());
}

}  // namespace
}  // namespace folvane
