#pragma once

#include <memory>

#include "conversation/ChatDetailViewModel.h"
#include "conversation/FileOpener.h"
#include "conversation/UsageEvents.h"
#include "platform/AppPaths.h"
#include "platform/Clipboard.h"
#include "providers/ProviderForm.h"
#include "store/CustomModel.h"

namespace folvane {

class AppChatService;
class AppPreferences;
class ChatListViewModel;
class CustomModelListViewModel;
class FileTagStore;
class HttpClient;
class MainQueue;
class PdfPageCounter;
class ProviderFormViewModel;
class PromptListViewModel;
struct SpeechServices;

// The root of the core's object graph. A front end's main makes one over the
// program's paths and its main queue, and takes from it the shared objects and
// the view models; no front end wires the core by hand.
//
// It makes, each once and on first use (so a command that only reads the
// settings never opens the database): the settings (and runs the first-start
// step with them), the one HTTP client that every wire client and the remote
// embedder share, the chat service over the database, the page counter, the
// file-tag store, the chat list and the prompt list. Used from the main thread.
class AppCore {
  public:
    AppCore(AppPaths paths, MainQueue& mainQueue);
    ~AppCore();
    AppCore(const AppCore&) = delete;
    AppCore& operator=(const AppCore&) = delete;

    const AppPaths& paths() const { return paths_; }
    MainQueue& mainQueue() { return mainQueue_; }

    AppPreferences& preferences();
    // Opens the database at the first call; throws FatalError when the store
    // cannot be opened at all.
    AppChatService& service();
    std::shared_ptr<HttpClient> http();
    // The reports of the first-use milestones, to the collector of the
    // settings (none by default), over the shared HTTP client.
    UsageEvents& usageEvents();
    // Hands an event to usageEvents().
    UsageEventSender usageEventSender();
    const PdfPageCounter& pageCounter();
    const FileTagStore& fileTags();

    // The list of every chat, synced by its owner. Its chats' view models run
    // on the core's main queue.
    ChatListViewModel& chatList();
    // The prompt library, synced by its owner, posting to the core's main queue.
    PromptListViewModel& promptList();
    // What a chat's view model works with, its indexer factory wired, posting
    // to the given main queue.
    ChatDetailServices chatDetailServices(MainQueue& mainQueue);
    std::unique_ptr<ChatDetailViewModel> makeChatDetail(const Conversation& conversation,
                                                        MainQueue& mainQueue);
    // A chat's indexer on the shared embedders and file tags.
    std::unique_ptr<ChatIndexer> makeIndexer(const Conversation& conversation,
                                             ChatIndexer::Listener listener);
    std::unique_ptr<CustomModelListViewModel> makeCustomModelList();
    // The settings form of a custom model's row, and the OpenAI form or key
    // modal; their checks go to the providers' public addresses through the
    // shared HTTP client and post to the core's main queue.
    std::unique_ptr<ProviderFormViewModel> makeProviderForm(const CustomModel& model);
    std::unique_ptr<ProviderFormViewModel> makeProviderForm(ProviderForm form);
    // The road by which files become a chat, over the service and the chat list.
    FileOpener fileOpener();
    // The desktop's clipboard, where the chats copy to; null (the default):
    // copying does nothing. Chats made before it is set copy to it too.
    void setClipboard(Clipboard* clipboard) { clipboard_.target = clipboard; }
    // The desktop's microphone, speakers and speech engines, which must
    // outlive this object; set it before the first chat opens (chats made
    // earlier neither record nor play). Fills in what it leaves empty: the
    // pocketsphinx recogniser and <resources>/sounds.
    void setSpeech(SpeechServices* speech);
    SpeechServices* speech() const { return speech_; }

  private:
    // What every chat is given: it passes the text on to the clipboard set now.
    struct ClipboardRelay final : Clipboard {
        Clipboard* target = nullptr;
        void setText(const std::string& text) override {
            if (target) target->setText(text);
        }
    };

    AppPaths paths_;
    MainQueue& mainQueue_;
    std::unique_ptr<AppPreferences> preferences_;
    std::shared_ptr<HttpClient> http_;
    std::unique_ptr<UsageEvents> usageEvents_;
    std::unique_ptr<PdfPageCounter> pageCounter_;
    std::unique_ptr<FileTagStore> fileTags_;
    std::unique_ptr<AppChatService> service_;
    ClipboardRelay clipboard_;
    SpeechServices* speech_ = nullptr;
    // Last: its chats hold the service and the settings.
    std::unique_ptr<ChatListViewModel> chatList_;
    std::unique_ptr<PromptListViewModel> promptList_;
};

}  // namespace folvane
