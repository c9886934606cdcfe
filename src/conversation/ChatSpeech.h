#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <thread>

#include "store/Message.h"

namespace folvane {

class AudioPlayer;
class ChatDetailViewModel;
class Recording;
class SpeechSynthesizer;
struct ChatDetailServices;
struct ChatDetailState;

// Dictation and reading aloud in one chat. Dictation: the start and stop
// sounds, the recording, and its transcription on a task (OpenAI's, or the
// on-device recogniser's for a WAV recording). Reading aloud: a message's
// stored speech file plays at once; otherwise its file is made on a task,
// stored on the message, then played; with onDeviceSpeech the desktop's voice
// reads it instead, with no file and no request. At most one message plays: a
// second speak replaces the player. Main thread only; the tasks post their
// changes to the main queue.
class ChatSpeech {
  public:
    ChatSpeech(ChatDetailViewModel& chat, const ChatDetailServices& services);
    // Stops what plays and waits for the running tasks.
    ~ChatSpeech();
    ChatSpeech(const ChatSpeech&) = delete;
    ChatSpeech& operator=(const ChatSpeech&) = delete;

    void startRecording(const std::shared_ptr<Recording>& recording);
    void stopRecording(const std::shared_ptr<Recording>& recording);
    // Throws with the user's words when the desktop's voice cannot read.
    void speak(const Message& message);
    void stopSpeak();

    // True while a transcription or a speech download runs.
    bool isTaskRunning() const;
    // Blocks until every task has ended (their posted changes may still wait).
    void waitForTasks();

  private:
    struct Task {
        std::atomic<bool> finished = false;
        std::jthread thread;
    };

    void update(const std::function<void(ChatDetailState&)>& change);
    void run(std::function<void()> work);
    // Posts the block; it runs only while this object lives.
    void post(std::function<void(ChatSpeech&)> block);
    void playSound(const std::string& name);
    void play(const std::filesystem::path& file, uint64_t generation);
    void speakOnDevice(const Message& message, uint64_t generation);
    void finishedPlaying(uint64_t generation);
    void stopPlayers();

    ChatDetailViewModel& chat_;
    const ChatDetailServices& services_;
    std::shared_ptr<ChatSpeech*> alive_;
    std::unique_ptr<AudioPlayer> soundPlayer_;
    std::unique_ptr<AudioPlayer> audioPlayer_;
    std::unique_ptr<SpeechSynthesizer> synthesizer_;
    uint64_t speakGeneration_ = 0;  // the current speak; older ones neither play nor clear
    std::list<std::shared_ptr<Task>> tasks_;
};

}  // namespace folvane
