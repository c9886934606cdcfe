#include <gtest/gtest.h>

#include "chat/AppChatService.h"
#include "conversation/ChatDetailViewModel.h"
#include "fakes/FakeAudioDevices.h"
#include "platform/FileUrl.h"
#include "providers/GPTEncoder.h"
#include "runtime/BlockingMainQueue.h"
#include "speech/Recording.h"
#include "speech/SpeechServices.h"
#include "store/AppPreferences.h"
#include "support/LogCapture.h"
#include "support/LoopbackHttpClient.h"
#include "support/LoopbackServer.h"
#include "support/TempDir.h"
#include "support/TestDatabase.h"
#include "support/TestPdf.h"

namespace folvane {
namespace {

using namespace std::chrono_literals;
namespace in = chat_input;

// A chat's dictation and reading aloud over the real service, database and a
// loopback OpenAI server; only the microphone, speakers and voice are fakes.
class ChatSpeechTest : public ::testing::Test {
  protected:
    test::TempDir dir;
    std::shared_ptr<SqliteConnection> db = test::makeDatabase(dir / "db.sqlite3");
    AppPreferences preferences;
    test::LoopbackServer server;
    AppChatService service{
        db, preferences, std::make_shared<test::LoopbackHttpClient>(),
        std::make_shared<GPTEncoder>(std::filesystem::path(test::resourceDir()))};
    BlockingMainQueue queue;
    test::FakeAudioDevices devices;
    SpeechServices speech;
    Conversation chat;
    std::unique_ptr<ChatDetailViewModel> viewModel;

    void SetUp() override {
        preferences.setCustomHost(server.baseURL().substr(std::string("http://").size()));
        preferences.setOpenAIKey("test-" + std::to_string(::getpid()));
        service.setSpeechDirectory(dir.path() / "data");
        server.setHandler([this](const test::RecordedRequest& request,
                                 httplib::Response& response) {
            if (request.target == "/v1/audio/transcriptions" && failTranscription) {
                response.status = 500;
                response.set_content(R"({"error":{"message":"The server broke.","type":"server"}})",
                                     "application/json");
            } else if (request.target == "/v1/audio/transcriptions") {
                response.set_content(R"({"text":"hello from the microphone"})", "application/json");
            } else if (request.target == "/v1/audio/speech") {
                response.set_content("ID3 spoken", "audio/mpeg");
            } else {
                response.status = 500;
            }
        });
        test::writeFile(dir.path() / "sounds" / "sound-start.mp3", "start");
        test::writeFile(dir.path() / "sounds" / "sound-stop.mp3", "stop");
        speech.devices = &devices;
        speech.soundDirectory = dir.path() / "sounds";
        speech.makeSynthesizer = [this] {
            auto synthesizer = std::make_unique<test::FakeSpeechSynthesizer>(devices.log);
            synthesizer_ = synthesizer.get();
            return synthesizer;
        };
        test::writeFile(dir / "paper.pdf", test::makePdf({"Page"}));
        chat = service.createConversation({fileUrlFromPath(dir / "paper.pdf")});
        viewModel = std::make_unique<ChatDetailViewModel>(
            ChatDetailServices{.chatService = service,
                               .preferences = preferences,
                               .mainQueue = queue,
                               .encoder = service.encoder(),
                               .makeIndexer = {},
                               .localEmbedder = {},
                               .documentStore = &service.documentStore(),
                               .speech = &speech},
            chat);
    }

    Message insert(const std::string& content, std::optional<std::string> speechFile = {}) {
        Message m;
        m.conversationId = chat.id;
        m.role = "assistant";
        m.content = content;
        m.speechFileURL = std::move(speechFile);
        const int64_t id = service.insertMessage(m);
        viewModel->trigger(in::Sync{});
        return *service.getMessage(id);
    }

    // Runs the main queue until the speech tasks have ended and their changes
    // are in the state.
    void settle() {
        viewModel->waitForSpeech();
        queue.drain();
    }

    const ChatDetailState& state() { return viewModel->state(); }
    test::FakeSpeechSynthesizer* synthesizer_ = nullptr;
    std::atomic<bool> failTranscription = false;
};

TEST_F(ChatSpeechTest, AStoredSpeechFilePlaysWithoutARequest) {
    test::writeFile(dir.path() / "kept.mp3", "ID3 kept");
    const Message message = insert("Read me.", fileUrlFromPath((dir.path() / "kept.mp3").string()));
    std::vector<bool> downloading;
    auto subscription =
        viewModel->subscribe([&] { downloading.push_back(state().downloadingSpeech); });

    viewModel->trigger(in::Speak{message});
    settle();

    EXPECT_TRUE(server.requests().empty());
    EXPECT_TRUE(devices.log.contains("play kept.mp3"));
    EXPECT_EQ(state().playingMessageID, message.id);
    EXPECT_EQ(std::count(downloading.begin(), downloading.end(), true), 0);
    devices.lastPlayer().finished();
    queue.drain();
    EXPECT_FALSE(state().playingMessageID);
}

TEST_F(ChatSpeechTest, AMessageWithoutAFileGetsOneStoredOnItsRowAndInTheStateThenPlays) {
    const Message message = insert("Read me.");
    viewModel->trigger(in::Speak{message});
    EXPECT_TRUE(state().downloadingSpeech);
    settle();

    ASSERT_EQ(server.requests().size(), 1u);
    const auto stored = service.getMessage(message.id)->speechFileURL;
    ASSERT_TRUE(stored);
    EXPECT_EQ(state().messages.back().speechFileURL, stored);
    const auto path = pathFromFileUrl(*stored);
    ASSERT_TRUE(path);
    EXPECT_EQ(test::readFile(*path), "ID3 spoken");
    EXPECT_FALSE(state().downloadingSpeech);
    EXPECT_TRUE(devices.log.contains("play " + std::filesystem::path(*path).filename().string()));

    // Once stored, the next speak is free.
    viewModel->trigger(in::Speak{state().messages.back()});
    settle();
    EXPECT_EQ(server.requests().size(), 1u);
}

TEST_F(ChatSpeechTest, ASecondSpeakReplacesThePlayerAndStopSpeakClears) {
    test::writeFile(dir.path() / "a.mp3", "a");
    test::writeFile(dir.path() / "b.mp3", "b");
    const Message first = insert("One", fileUrlFromPath((dir.path() / "a.mp3").string()));
    const Message second = insert("Two", fileUrlFromPath((dir.path() / "b.mp3").string()));
    viewModel->trigger(in::Speak{first});
    const auto lateEnd = devices.lastPlayer().finished;
    viewModel->trigger(in::Speak{second});
    settle();
    EXPECT_EQ(state().playingMessageID, second.id);
    EXPECT_EQ(devices.log.events,
              (std::vector<std::string>{"play a.mp3", "stop a.mp3", "play b.mp3"}));
    // The replaced player's end, arriving late, clears nothing.
    lateEnd();
    queue.drain();
    EXPECT_EQ(state().playingMessageID, second.id);

    viewModel->trigger(in::StopSpeak{});
    EXPECT_FALSE(state().playingMessageID);
    EXPECT_EQ(devices.log.events.back(), "stop b.mp3");
}

TEST_F(ChatSpeechTest, SpeechThatCannotBeMadeSaysWhyAndStopsDownloading) {
    const Message message = insert("Read me.");
    preferences.setCustomHost("127.0.0.1:1");  // nothing listens there
    viewModel->trigger(in::Speak{message});
    settle();
    ASSERT_TRUE(state().lastError);
    EXPECT_EQ(state().lastError->rfind("Speech failed: ", 0), 0u) << *state().lastError;
    EXPECT_FALSE(state().downloadingSpeech);
    EXPECT_FALSE(service.getMessage(message.id)->speechFileURL);
}

TEST_F(ChatSpeechTest, AFileThatCannotPlayIsLoggedAndStaysMarkedUntilStop) {
    const Message message = insert("Gone", fileUrlFromPath((dir.path() / "deleted.mp3").string()));
    test::LogCapture log;
    viewModel->trigger(in::Speak{message});
    settle();
    EXPECT_TRUE(log.mentions("Audio player error: No such file"));
    EXPECT_EQ(state().playingMessageID, message.id);
    EXPECT_FALSE(state().lastError);
}

TEST_F(ChatSpeechTest, OnDeviceReadingUsesTheVoiceWithNoFileNoRequestAndNoKey) {
    preferences.setOnDeviceSpeech(true);
    preferences.setOpenAIKey("");
    const Message message = insert("Read me here.");
    viewModel->trigger(in::Speak{message});
    settle();
    EXPECT_TRUE(devices.log.contains("say Read me here."));
    EXPECT_TRUE(server.requests().empty());
    EXPECT_FALSE(service.getMessage(message.id)->speechFileURL);
    EXPECT_EQ(state().playingMessageID, message.id);
    ASSERT_TRUE(synthesizer_ && synthesizer_->finished);
    synthesizer_->finished();
    queue.drain();
    EXPECT_FALSE(state().playingMessageID);

    speech.makeSynthesizer = nullptr;
    viewModel->trigger(in::Speak{message});
    EXPECT_EQ(state().lastError, "Speech failed: This machine has no voice to read with.");
    EXPECT_FALSE(state().playingMessageID);
}

TEST_F(ChatSpeechTest, DictationEndsInTheComposeBoxOrAsASentMessageOrFailed) {
    struct Case {
        std::string name;
        bool autoSend;
        bool serverUp;
        RecordingState end;
        std::string transcript;
        bool sent;
    };
    const std::vector<Case> cases = {
        {"failure", false, false, RecordingState::Failed, "", false},
        {"compose box", false, true, RecordingState::Completed, "hello from the microphone", false},
        {"auto send", true, true, RecordingState::Completed, "", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        preferences.setAutoSendMessageAfterSpeak(c.autoSend);
        failTranscription = !c.serverUp;
        devices.log.events.clear();
        auto recording = std::make_shared<Recording>(devices);
        viewModel->trigger(in::StartRecording{recording});
        EXPECT_EQ(state().recordingState, RecordingState::Recording);
        viewModel->trigger(in::StopRecording{recording});
        EXPECT_EQ(state().recordingState, RecordingState::Transcribing);
        EXPECT_EQ(state().latestTranscriptionContent, "");
        settle();
        viewModel->waitForRequests();
        queue.drain();

        EXPECT_EQ(state().recordingState, c.end);
        EXPECT_EQ(state().latestTranscriptionContent, c.transcript);
        // The stop sound of the case before may still be paused first.
        std::erase(devices.log.events, "pause sound-stop.mp3");
        EXPECT_EQ(devices.log.events,
                  (std::vector<std::string>{
                      "play sound-start.mp3", "record " + recording->filename(),
                      "pause sound-start.mp3", "play sound-stop.mp3", "stop recording"}));
        const auto messages = service.getMessages(chat.id, 0);
        const bool sent = std::any_of(messages.begin(), messages.end(), [](const Message& m) {
            return m.role == "user" && m.content == "hello from the microphone";
        });
        EXPECT_EQ(sent, c.sent);
        std::filesystem::remove(recording->url());
    }
}

TEST_F(ChatSpeechTest, OnDeviceDictationRecordsWavAndTranscribesWithoutTheAccount) {
    if (std::system("command -v flite >/dev/null 2>&1") != 0) GTEST_SKIP() << "no flite";
    ASSERT_EQ(
        std::system(
            ("flite -voice slt -t \"open the pod bay doors\" -o " + dir / "clip.wav").c_str()),
        0);
    devices.clip = dir.path() / "clip.wav";
    preferences.setOpenAIKey("");
    auto recording = std::make_shared<Recording>(devices, true);
    EXPECT_EQ(recording->settings().format, AudioFileFormat::wav);
    EXPECT_EQ(recording->settings().sampleRate, 16000.0);
    viewModel->trigger(in::StartRecording{recording});
    viewModel->trigger(in::StopRecording{recording});
    settle();
    EXPECT_EQ(state().recordingState, RecordingState::Completed);
    EXPECT_EQ(state().latestTranscriptionContent, "open the pod bay doors");
    EXPECT_TRUE(server.requests().empty());
    std::filesystem::remove(recording->url());
}

}  // namespace
}  // namespace folvane
