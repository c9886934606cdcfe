#include "conversation/ChatSpeech.h"

#include <stdexcept>

#include "chat/ChatService.h"
#include "chat/CompletionStream.h"
#include "conversation/ChatDetailViewModel.h"
#include "platform/AudioPlayer.h"
#include "platform/FileUrl.h"
#include "platform/Log.h"
#include "platform/PocketsphinxRecognizer.h"
#include "platform/SpeechSynthesizer.h"
#include "runtime/MainQueue.h"
#include "speech/Recording.h"
#include "speech/SpeechServices.h"
#include "store/AppPreferences.h"

namespace folvane {

namespace {

// Runs the block on the main queue while the object lives.
void postTo(MainQueue& mainQueue, std::weak_ptr<ChatSpeech*> alive,
            std::function<void(ChatSpeech&)> block) {
    mainQueue.post([alive = std::move(alive), block = std::move(block)] {
        if (auto self = alive.lock()) block(**self);
    });
}

}  // namespace

ChatSpeech::ChatSpeech(ChatDetailViewModel& chat, const ChatDetailServices& services)
    : chat_(chat), services_(services), alive_(std::make_shared<ChatSpeech*>(this)) {}

ChatSpeech::~ChatSpeech() {
    alive_.reset();
    stopPlayers();
    if (soundPlayer_) soundPlayer_->stop();
    tasks_.clear();  // each jthread joins
}

void ChatSpeech::update(const std::function<void(ChatDetailState&)>& change) {
    chat_.updateState(change);
}

void ChatSpeech::post(std::function<void(ChatSpeech&)> block) {
    postTo(services_.mainQueue, alive_, std::move(block));
}

void ChatSpeech::run(std::function<void()> work) {
    std::erase_if(tasks_, [](const auto& task) { return task->finished.load(); });
    auto task = std::make_shared<Task>();
    task->thread = std::jthread([task = task.get(), work = std::move(work)] {
        work();
        task->finished = true;
    });
    tasks_.push_back(std::move(task));
}

bool ChatSpeech::isTaskRunning() const {
    for (const auto& task : tasks_) {
        if (!task->finished) return true;
    }
    return false;
}

void ChatSpeech::waitForTasks() {
    for (auto& task : tasks_) {
        if (task->thread.joinable()) task->thread.join();
    }
}

void ChatSpeech::playSound(const std::string& name) {
    SpeechServices* speech = services_.speech;
    if (!speech || !speech->devices) return;
    const std::filesystem::path file = speech->soundDirectory / name;
    // A sound that is not installed is left out; the recording goes on.
    if (!std::filesystem::exists(file)) return;
    if (soundPlayer_) soundPlayer_->pause();
    soundPlayer_ = speech->devices->makePlayer();
    try {
        soundPlayer_->play(file, 1.0f);
    } catch (const std::exception& error) {
        // A cue that cannot sound is no reason to stop dictating.
        log("Audio player error: " + std::string(error.what()));
    }
}

void ChatSpeech::startRecording(const std::shared_ptr<Recording>& recording) {
    update([](ChatDetailState& s) { s.recordingState = RecordingState::Recording; });
    playSound("sound-start.mp3");
    try {
        recording->record();
    } catch (const std::exception& error) {
        // As the recorder's own failures: the stop that follows finds no
        // sound to transcribe, and its failure shows.
        log(error.what());
    }
}

void ChatSpeech::stopRecording(const std::shared_ptr<Recording>& recording) {
    update([](ChatDetailState& s) {
        s.recordingState = RecordingState::Transcribing;
        s.latestTranscriptionContent.clear();
    });
    playSound("sound-stop.mp3");
    recording->stop();
    const std::filesystem::path url = recording->url();
    const bool onDevice = recording->settings().format == AudioFileFormat::wav;
    SpeechServices::RecognizerFactory makeRecognizer;
    if (onDevice) {
        makeRecognizer = services_.speech && services_.speech->makeRecognizer
                             ? services_.speech->makeRecognizer
                             : [] { return std::make_unique<PocketsphinxRecognizer>(); };
    }
    ChatService& chatService = services_.chatService;
    run([url, makeRecognizer, &chatService, &mainQueue = services_.mainQueue,
         alive = std::weak_ptr(alive_)] {
        try {
            std::string text =
                makeRecognizer ? makeRecognizer()->recognize(url) : chatService.transcribe(url);
            postTo(mainQueue, alive, [text = std::move(text)](ChatSpeech& self) {
                if (self.services_.preferences.autoSendMessageAfterSpeak()) {
                    self.chat_.trigger(chat_input::AddMessage{text});
                } else {
                    self.update([&](ChatDetailState& s) { s.latestTranscriptionContent = text; });
                }
                self.update(
                    [](ChatDetailState& s) { s.recordingState = RecordingState::Completed; });
            });
        } catch (const std::exception& error) {
            log(error.what());
            postTo(mainQueue, alive, [](ChatSpeech& self) {
                self.update([](ChatDetailState& s) { s.recordingState = RecordingState::Failed; });
            });
        }
    });
}

void ChatSpeech::stopPlayers() {
    if (audioPlayer_) audioPlayer_->stop();
    audioPlayer_.reset();
    if (synthesizer_) synthesizer_->stop();
    synthesizer_.reset();
}

void ChatSpeech::stopSpeak() {
    ++speakGeneration_;
    stopPlayers();
    update([](ChatDetailState& s) { s.playingMessageID.reset(); });
}

void ChatSpeech::finishedPlaying(uint64_t generation) {
    if (generation != speakGeneration_) return;
    update([](ChatDetailState& s) {
        s.playingMessageID.reset();
        s.downloadingSpeech = false;
    });
}

void ChatSpeech::speak(const Message& message) {
    const uint64_t generation = ++speakGeneration_;
    stopPlayers();
    update([&](ChatDetailState& s) {
        s.playingMessageID = message.id;
        s.downloadingSpeech = false;
    });
    if (services_.preferences.onDeviceSpeech()) {
        speakOnDevice(message, generation);
        return;
    }
    if (services_.preferences.openAIKey().empty()) return;
    if (message.speechFileURL) {
        const auto path = pathFromFileUrl(*message.speechFileURL);
        play(std::filesystem::path(path ? *path : *message.speechFileURL), generation);
        return;
    }
    update([](ChatDetailState& s) { s.downloadingSpeech = true; });
    ChatService& chatService = services_.chatService;
    run([message, generation, &chatService, &mainQueue = services_.mainQueue,
         alive = std::weak_ptr(alive_)] {
        try {
            const std::filesystem::path file = chatService.generateSpeech(message.content);
            const std::string url = fileUrlFromPath(file.string());
            chatService.updateSpeechFile(message.id, url);
            postTo(mainQueue, alive, [id = message.id, url, file, generation](ChatSpeech& self) {
                self.update([&](ChatDetailState& s) {
                    for (auto& m : s.messages) {
                        if (m.id == id) m.speechFileURL = url;
                    }
                    if (generation == self.speakGeneration_) s.downloadingSpeech = false;
                });
                if (generation == self.speakGeneration_) self.play(file, generation);
            });
        } catch (const std::exception& error) {
            postTo(mainQueue, alive, [generation, reason = errorText(error)](ChatSpeech& self) {
                self.update([&](ChatDetailState& s) {
                    s.lastError = "Speech failed: " + reason;
                    if (generation == self.speakGeneration_) {
                        s.downloadingSpeech = false;
                        s.playingMessageID.reset();
                    }
                });
            });
        }
    });
}

void ChatSpeech::play(const std::filesystem::path& file, uint64_t generation) {
    SpeechServices* speech = services_.speech;
    // Without speakers (the command line) the file is all there is to have.
    if (!speech || !speech->devices) return;
    auto player = speech->devices->makePlayer();
    player->finished = [this, generation] {
        post([generation](ChatSpeech& self) { self.finishedPlaying(generation); });
    };
    player->failed = [](const std::string& description) {
        log("Audio player error: " + description);
    };
    try {
        player->play(file, 1.0f);
    } catch (const std::exception& error) {
        // The message stays marked as playing until Stop Speak, as with a
        // file that fails while it plays.
        log("Audio player error: " + std::string(error.what()));
        return;
    }
    audioPlayer_ = std::move(player);
}

void ChatSpeech::speakOnDevice(const Message& message, uint64_t generation) {
    SpeechServices* speech = services_.speech;
    try {
        if (!speech || !speech->makeSynthesizer) {
            throw std::runtime_error("This machine has no voice to read with.");
        }
        auto synthesizer = speech->makeSynthesizer();
        synthesizer->finished = [this, generation] {
            post([generation](ChatSpeech& self) { self.finishedPlaying(generation); });
        };
        synthesizer->say(message.content);
        synthesizer_ = std::move(synthesizer);
    } catch (const std::exception& error) {
        update([&](ChatDetailState& s) { s.playingMessageID.reset(); });
        throw std::runtime_error("Speech failed: " + std::string(error.what()));
    }
}

}  // namespace folvane
