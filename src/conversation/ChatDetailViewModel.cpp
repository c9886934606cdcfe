#include "conversation/ChatDetailViewModel.h"

#include <algorithm>

#include "chat/ChatService.h"
#include "chat/CompletionStream.h"
#include "platform/Clipboard.h"
#include "platform/FileUrl.h"
#include "platform/ImageDecoder.h"
#include "platform/Log.h"
#include "runtime/MainQueue.h"
#include "store/AppPreferences.h"
#include "store/DocumentStore.h"

namespace folvane {

namespace {

bool isRetiredModel(const std::string& model) {
    return model == "gpt-3.5-turbo-16k" || model == "gpt-3.5-turbo-16k-0613";
}

ChatDetailState initialState(const Conversation& conversation) {
    ChatDetailState state;
    state.conversation = conversation;
    return state;
}

}  // namespace

ChatDetailViewModel::ChatDetailViewModel(ChatDetailServices services,
                                         const Conversation& conversation)
    : PublishingViewModel(initialState(conversation)),
      services_(std::move(services)),
      conversation_(conversation),
      alive_(std::make_shared<ChatDetailViewModel*>(this)) {
    log("ChatDetailViewModel.init() for id: " + std::to_string(conversation.id));
    ChatDetailState initial = state();
    if (conversation.customModelId >= 1) {
        try {
            initial.customModel = services_.chatService.getCustomModel(conversation.customModelId);
        } catch (const std::exception& error) {
            initial.lastError = errorText(error);
        }
    }
    if (services_.makeIndexer) {
        std::weak_ptr<ChatDetailViewModel*> alive = alive_;
        MainQueue& mainQueue = services_.mainQueue;
        indexer_ =
            services_.makeIndexer(conversation, [alive, &mainQueue](const IndexingUpdate& update) {
                mainQueue.post([alive, update] {
                    if (auto self = alive.lock()) (*self)->applyIndexingUpdate(update);
                });
            });
        initial.allDocuments = indexer_->state().documents;
    } else if (services_.documentStore) {
        try {
            initial.allDocuments =
                documentInfos(services_.documentStore->bookmarks(conversation.allBookmarkIds()));
        } catch (const std::exception& error) {
            initial.lastError = errorText(error);
        }
    }
    setState(std::move(initial));
}

ChatDetailViewModel::~ChatDetailViewModel() {
    alive_.reset();
}

void ChatDetailViewModel::trigger(ChatDetailInput input) {
    namespace in = chat_input;
    // A failed store call leaves the state as it was but for lastError; trigger never throws.
    try {
        std::visit(
            [this](auto& c) {
                using T = std::decay_t<decltype(c)>;
                auto& store = services_.chatService;
                auto& preferences = services_.preferences;
                const int64_t id = conversation_.id;
                if constexpr (std::is_same_v<T, in::RebuildIndex>) {
                    if (indexer_) indexer_->rebuildIndex(c.bookmarkId, c.forceOCR);
                } else if constexpr (std::is_same_v<T, in::ReembedWithLocalModel>) {
                    if (indexer_) indexer_->reembedWithLocalModel(c.bookmarkId);
                } else if constexpr (std::is_same_v<T, in::RemoveFromChat>) {
                    if (indexer_) indexer_->removeFromChat(c.bookmarkId);
                } else if constexpr (std::is_same_v<T, in::AddMessage>) {
                    const bool blank = c.text.find_first_not_of(" \t\r\n") == std::string::npos;
                    if (services_.messageSending && !blank) services_.messageSending(conversation_);
                    sendFlow_.sendMessage(c.text, true, state().contextMode, state().stringContext);
                } else if constexpr (std::is_same_v<T, in::DeleteMessage>) {
                    store.deleteMessage(c.messageId);
                    updateState([&](ChatDetailState& s) {
                        std::erase_if(s.messages,
                                      [&](const Message& m) { return m.id == c.messageId; });
                        s.conversation.messageCount = static_cast<int>(s.messages.size());
                        conversation_.messageCount = s.conversation.messageCount;
                    });
                } else if constexpr (std::is_same_v<T, in::AddImages>) {
                    checkImages(c.urls);
                    updateState([&](ChatDetailState& s) {
                        s.contextMode = ChatContextMode::images;
                        s.imageURLs.insert(s.imageURLs.end(), c.urls.begin(), c.urls.end());
                    });
                } else if constexpr (std::is_same_v<T, in::RemoveImages>) {
                    updateState([&](ChatDetailState& s) {
                        std::erase_if(s.imageURLs, [&](const std::string& url) {
                            return std::find(c.urls.begin(), c.urls.end(), url) != c.urls.end();
                        });
                        if (s.imageURLs.empty()) s.contextMode = ChatContextMode::all;
                    });
                } else if constexpr (std::is_same_v<T, in::UpdateMessageContent>) {
                    sendFlow_.updateMessageContent(c.id, c.text, c.resend);
                } else if constexpr (std::is_same_v<T, in::UpdateTitle>) {
                    store.updateTitle(id, c.title);
                    updateConversation([&](Conversation& v) { v.title = c.title; });
                } else if constexpr (std::is_same_v<T, in::UpdateTemperature>) {
                    store.updateTemperature(id, c.temperature);
                    updateConversation([&](Conversation& v) { v.temperature = c.temperature; });
                    preferences.setDefaultTemperature(c.temperature);
                } else if constexpr (std::is_same_v<T, in::UpdateLanguageCode>) {
                    store.updateLanguageCode(id, c.code);
                    updateConversation([&](Conversation& v) { v.languageCode = c.code; });
                } else if constexpr (std::is_same_v<T, in::UpdateModel>) {
                    store.updateModel(id, c.model);
                    updateConversation([&](Conversation& v) { v.model = c.model; });
                    if (conversation_.customModelId == 0) preferences.setDefaultModel(c.model);
                } else if constexpr (std::is_same_v<T, in::UpdateCustomModel>) {
                    store.updateCustomModelId(id, c.customModelId);
                    updateConversation([&](Conversation& v) { v.customModelId = c.customModelId; });
                    if (indexer_) indexer_->setCustomModelId(c.customModelId);
                    if (auto model = store.getCustomModel(c.customModelId)) {
                        updateState([&](ChatDetailState& s) { s.customModel = std::move(model); });
                    }
                } else if constexpr (std::is_same_v<T, in::UpdateUseWebSearch>) {
                    store.updateUseWebSearch(id, c.on);
                    updateConversation([&](Conversation& v) { v.useWebSearch = c.on; });
                } else if constexpr (std::is_same_v<T, in::UpdatePresencePenalty>) {
                    store.updatePresencePenalty(id, c.penalty);
                    updateConversation([&](Conversation& v) { v.presencePenalty = c.penalty; });
                    preferences.setDefaultPresencePenalty(c.penalty);
                } else if constexpr (std::is_same_v<T, in::UpdateFrequencyPenalty>) {
                    store.updateFrequencyPenalty(id, c.penalty);
                    updateConversation([&](Conversation& v) { v.frequencyPenalty = c.penalty; });
                    preferences.setDefaultFrequencyPenalty(c.penalty);
                } else if constexpr (std::is_same_v<T, in::UpdateContextLimit>) {
                    store.updateContextLimit(id, c.limit);
                    updateConversation([&](Conversation& v) { v.contextLimit = c.limit; });
                    preferences.setDefaultContextLimit(c.limit);
                } else if constexpr (std::is_same_v<T, in::UpdateBookmark>) {
                    if (indexer_) indexer_->updateBookmark(c.bookmarkId, c.url);
                } else if constexpr (std::is_same_v<T, in::AddDocuments>) {
                    if (indexer_) indexer_->addDocuments(c.urls);
                } else if constexpr (std::is_same_v<T, in::HighlightContentForReference>) {
                    highlightContentForReference(c.reference);
                } else if constexpr (std::is_same_v<T, in::OpenExportAsDialog>) {
                    // The save panel and the writing belong to the window.
                } else if constexpr (std::is_same_v<T, in::GoToPage>) {
                    state().pageNavigator->goToPage.notify(c.page, std::nullopt);
                } else if constexpr (std::is_same_v<T, in::Find>) {
                    search_.find(c.keyword, c.scope);
                } else if constexpr (std::is_same_v<T, in::UseContentAsMessageContext>) {
                    updateState([&](ChatDetailState& s) {
                        s.contextMode = ChatContextMode::quotedContent;
                        s.stringContext = c.text;
                    });
                } else if constexpr (std::is_same_v<T, in::GoToReference>) {
                    if (const auto& go = state().pageNavigator->goToReference()) go(c.reference);
                } else if constexpr (std::is_same_v<T, in::Speak>) {
                    speech_.speak(c.message);
                } else if constexpr (std::is_same_v<T, in::StartRecording>) {
                    speech_.startRecording(c.recording);
                } else if constexpr (std::is_same_v<T, in::StopRecording>) {
                    speech_.stopRecording(c.recording);
                } else if constexpr (std::is_same_v<T, in::LoadIndex>) {
                    startAccessing(state().allDocuments);
                    if (indexer_ && indexer_->loadIndex()) {
                        const Date touched = now();
                        updateConversation([&](Conversation& v) { v.updatedAt = touched; });
                    }
                } else if constexpr (std::is_same_v<T, in::LoadIndexUsingOpenAI> ||
                                     std::is_same_v<T, in::UpdateCosts>) {
                    // No effect.
                } else if constexpr (std::is_same_v<T, in::UnloadIndex>) {
                    if (indexer_) indexer_->unloadIndex();
                    stopAccessing(state().allDocuments);
                } else if constexpr (std::is_same_v<T, in::Sync>) {
                    sync();
                } else if constexpr (std::is_same_v<T, in::CancelRequest>) {
                    sendFlow_.cancelRequest();
                } else if constexpr (std::is_same_v<T, in::Regenerate>) {
                    sendFlow_.regenerate();
                } else if constexpr (std::is_same_v<T, in::ContinueGenerating>) {
                    sendFlow_.continueGenerating();
                } else if constexpr (std::is_same_v<T, in::ShowEditLastMessageForm>) {
                    updateState([](ChatDetailState& s) { s.shouldShowEditLastMessageForm = true; });
                } else if constexpr (std::is_same_v<T, in::HideEditLastMessageForm>) {
                    updateState(
                        [](ChatDetailState& s) { s.shouldShowEditLastMessageForm = false; });
                } else if constexpr (std::is_same_v<T, in::ShowGoToForm>) {
                    updateState([](ChatDetailState& s) { s.shouldShowGoToPageForm = true; });
                } else if constexpr (std::is_same_v<T, in::HideGoToForm>) {
                    updateState([](ChatDetailState& s) { s.shouldShowGoToPageForm = false; });
                } else if constexpr (std::is_same_v<T, in::CopyLastResponse>) {
                    copyLastResponse();
                } else if constexpr (std::is_same_v<T, in::ResetContext>) {
                    sendFlow_.resetContext();
                } else if constexpr (std::is_same_v<T, in::ClearContextMarkers>) {
                    sendFlow_.clearContextMarkers();
                } else if constexpr (std::is_same_v<T, in::DeleteAllMessages>) {
                    sendFlow_.deleteAllMessages();
                } else if constexpr (std::is_same_v<T, in::GoToPreviousPage>) {
                    state().pageNavigator->goToPreviousPage.notify();
                } else if constexpr (std::is_same_v<T, in::GoToNextPage>) {
                    state().pageNavigator->goToNextPage.notify();
                } else if constexpr (std::is_same_v<T, in::GoBack>) {
                    state().pageNavigator->goBack.notify();
                } else if constexpr (std::is_same_v<T, in::GoForward>) {
                    state().pageNavigator->goForward.notify();
                } else if constexpr (std::is_same_v<T, in::FindNext>) {
                    state().pageNavigator->findNext.notify();
                } else if constexpr (std::is_same_v<T, in::FindPrevious>) {
                    state().pageNavigator->findPrevious.notify();
                } else if constexpr (std::is_same_v<T, in::ResetMessageContext>) {
                    updateState([](ChatDetailState& s) {
                        s.contextMode = ChatContextMode::all;
                        s.stringContext.clear();
                    });
                } else if constexpr (std::is_same_v<T, in::StopSpeak>) {
                    speech_.stopSpeak();
                }
            },
            input);
    } catch (const std::exception& error) {
        // Where the user is shown a failed input: the state as it was, and
        // the error's words.
        showError(error);
    }
}

void ChatDetailViewModel::updateConversation(const std::function<void(Conversation&)>& change) {
    change(conversation_);
    updateState([&](ChatDetailState& s) { change(s.conversation); });
}

void ChatDetailViewModel::applyIndexingUpdate(const IndexingUpdate& update) {
    conversation_.extraBookmarkIds = update.extraBookmarkIds;
    updateState([&](ChatDetailState& s) {
        s.loadingState = update.loadingState;
        s.loadingFailReason = update.loadingFailReason.empty()
                                  ? std::nullopt
                                  : std::optional<std::string>(update.loadingFailReason);
        s.indexingProgress = update.indexingProgress;
        s.totalPageNumber = update.totalPageNumber;
        s.isScannedDocument = update.isScannedDocument;
        s.allDocuments = update.documents;
        s.localModelInstalled = update.localModelInstalled;
        s.conversation.extraBookmarkIds = update.extraBookmarkIds;
    });
}

void ChatDetailViewModel::checkImages(const std::vector<std::string>& urls) {
    // Each picture is decoded once here, so that one the vision model would
    // never get is refused now, with its reason, and none of the batch joins.
    for (const auto& url : urls) {
        if (const auto path = pathFromFileUrl(url)) decodeImage(*path);
    }
}

void ChatDetailViewModel::showError(const std::exception& error) {
    updateState([&](ChatDetailState& s) { s.lastError = errorText(error); });
}

void ChatDetailViewModel::sync() {
    int64_t lastId = 0;
    for (const auto& message : state().messages) lastId = std::max(lastId, message.id);
    const std::vector<Message> newer = services_.chatService.getMessages(conversation_.id, lastId);
    updateState([&](ChatDetailState& s) {
        s.messages.insert(s.messages.end(), newer.begin(), newer.end());
    });
    if (isRetiredModel(conversation_.model)) {
        services_.chatService.updateModel(conversation_.id, "gpt-3.5-turbo");
        updateConversation([](Conversation& c) { c.model = "gpt-3.5-turbo"; });
    }
    updateState([](ChatDetailState& s) { s.loaded = true; });
}

void ChatDetailViewModel::copyLastResponse() {
    const auto& messages = state().messages;
    const auto last = std::find_if(messages.rbegin(), messages.rend(),
                                   [](const Message& m) { return m.role == "assistant"; });
    if (last != messages.rend() && services_.clipboard) services_.clipboard->setText(last->content);
}

void ChatDetailViewModel::highlightContentForReference(const Reference& reference) {
    if (!indexer_) return;
    const ChatIndexes indexes = indexer_->indexes();
    for (const auto& index : {indexes.openai, indexes.openaiNew, indexes.local}) {
        if (!index) continue;
        if (auto item = index->getItem(reference.id)) {
            updateState([&](ChatDetailState& s) { s.highlightedText = item->text; });
            return;
        }
    }
    // A chunk in no loaded index lights up nothing, rather than the passage of
    // the reference followed before it.
    updateState([](ChatDetailState& s) { s.highlightedText.reset(); });
}

}  // namespace folvane
