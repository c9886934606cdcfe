#include "conversation/AppCore.h"

#include "chat/AppChatService.h"
#include "conversation/ChatListViewModel.h"
#include "conversation/CustomModelListViewModel.h"
#include "conversation/FirstStartStep.h"
#include "conversation/Milestones.h"
#include "conversation/OnboardingTour.h"
#include "conversation/PromptListViewModel.h"
#include "conversation/ProviderFormViewModel.h"
#include "platform/CurlHttpClient.h"
#include "platform/Log.h"
#include "platform/MuPdfPageCounter.h"
#include "platform/PocketsphinxRecognizer.h"
#include "platform/XattrFileTagStore.h"
#include "speech/SpeechServices.h"
#include "store/AppPreferences.h"
#include "store/SettingsError.h"

namespace folvane {

AppCore::AppCore(AppPaths paths, MainQueue& mainQueue)
    : paths_(std::move(paths)), mainQueue_(mainQueue) {}

AppCore::~AppCore() {
    // The chats stop their work before the service and the settings go.
    chatList_.reset();
}

AppPreferences& AppCore::preferences() {
    if (!preferences_) {
        preferences_ = AppPreferences::open(paths_.configDirectory);
        try {
            FirstStartStep::run(*preferences_, usageEventSender());
        } catch (const SettingsError& error) {
            // Settings that cannot be written keep their defaults for this
            // run; the step runs again at the next start.
            log(error.what());
        }
    }
    return *preferences_;
}

std::shared_ptr<HttpClient> AppCore::http() {
    if (!http_) http_ = std::make_shared<CurlHttpClient>();
    return http_;
}

UsageEvents& AppCore::usageEvents() {
    if (!usageEvents_) usageEvents_ = std::make_unique<UsageEvents>(preferences(), http());
    return *usageEvents_;
}

UsageEventSender AppCore::usageEventSender() {
    return [this](const std::string& event) { usageEvents().track(event); };
}

const PdfPageCounter& AppCore::pageCounter() {
    if (!pageCounter_) pageCounter_ = std::make_unique<MuPdfPageCounter>();
    return *pageCounter_;
}

const FileTagStore& AppCore::fileTags() {
    if (!fileTags_) fileTags_ = std::make_unique<XattrFileTagStore>();
    return *fileTags_;
}

AppChatService& AppCore::service() {
    if (!service_) service_ = AppChatService::start(paths_, preferences(), pageCounter(), http());
    return *service_;
}

ChatListViewModel& AppCore::chatList() {
    if (!chatList_) {
        chatList_ = std::make_unique<ChatListViewModel>(
            service(), [this](const Conversation& conversation) {
                return std::shared_ptr<ChatDetailViewModel>(
                    makeChatDetail(conversation, mainQueue_));
            });
    }
    return *chatList_;
}

PromptListViewModel& AppCore::promptList() {
    if (!promptList_) promptList_ = std::make_unique<PromptListViewModel>(service(), mainQueue_);
    return *promptList_;
}

ChatDetailServices AppCore::chatDetailServices(MainQueue& mainQueue) {
    AppChatService& chatService = service();
    return ChatDetailServices{
        .chatService = chatService,
        .preferences = preferences(),
        .mainQueue = mainQueue,
        .encoder = chatService.encoder(),
        .makeIndexer =
            [this](const Conversation& conversation, ChatIndexer::Listener listener) {
                return makeIndexer(conversation, std::move(listener));
            },
        .localEmbedder = [&chatService] { return chatService.embedders().local(); },
        .clipboard = &clipboard_,
        .documentStore = &chatService.documentStore(),
        // The tour moves on before the milestones are counted.
        .messageSending =
            [this](const Conversation& conversation) {
                OnboardingTour::messageSent(preferences());
                Milestones::messageSent(preferences(), conversation.id, usageEventSender());
            },
        .speech = speech_,
    };
}

std::unique_ptr<ChatDetailViewModel> AppCore::makeChatDetail(const Conversation& conversation,
                                                             MainQueue& mainQueue) {
    return std::make_unique<ChatDetailViewModel>(chatDetailServices(mainQueue), conversation);
}

std::unique_ptr<ChatIndexer> AppCore::makeIndexer(const Conversation& conversation,
                                                  ChatIndexer::Listener listener) {
    AppChatService& chatService = service();
    return std::make_unique<ChatIndexer>(
        conversation,
        ChatIndexerDependencies{
            chatService.documentStore(), preferences(), chatService.embedders(), fileTags(), {}},
        std::move(listener));
}

void AppCore::setSpeech(SpeechServices* speech) {
    if (speech && speech->soundDirectory.empty()) {
        speech->soundDirectory = std::filesystem::path(paths_.resourceDirectory) / "sounds";
    }
    if (speech && !speech->makeRecognizer) {
        speech->makeRecognizer = [] { return std::make_unique<PocketsphinxRecognizer>(); };
    }
    speech_ = speech;
}

FileOpener AppCore::fileOpener() {
    return FileOpener(service(), chatList());
}

std::unique_ptr<CustomModelListViewModel> AppCore::makeCustomModelList() {
    return std::make_unique<CustomModelListViewModel>(service(), preferences());
}

std::unique_ptr<ProviderFormViewModel> AppCore::makeProviderForm(const CustomModel& model) {
    auto form = std::make_unique<ProviderFormViewModel>(service(), preferences(), http(),
                                                        mainQueue_, ProviderEndpoints{}, model);
    form->setUsageEventSender(usageEventSender());
    return form;
}

std::unique_ptr<ProviderFormViewModel> AppCore::makeProviderForm(ProviderForm kind) {
    auto form = std::make_unique<ProviderFormViewModel>(service(), preferences(), http(),
                                                        mainQueue_, ProviderEndpoints{}, kind);
    form->setUsageEventSender(usageEventSender());
    return form;
}

}  // namespace folvane
