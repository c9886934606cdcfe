#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "chat/AssistantState.h"
#include "conversation/ChatContextMode.h"
#include "conversation/PageNavigator.h"
#include "documents/DocumentInfo.h"
#include "documents/LoadingState.h"
#include "store/Conversation.h"
#include "store/CustomModel.h"
#include "store/Message.h"

namespace folvane {

// Where dictation stands (the speech subsystem writes it).
enum class RecordingState { None, Recording, Transcribing, Completed, Failed };

// All that a chat's screens show. Identified by the conversation's id.
struct ChatDetailState {
    Conversation conversation;
    std::vector<DocumentInfo> allDocuments;
    std::optional<CustomModel> customModel;
    // Shared by every copy of the state: the one channel to this chat's viewer.
    std::shared_ptr<PageNavigator> pageNavigator = std::make_shared<PageNavigator>();
    ChatContextMode contextMode = ChatContextMode::all;
    std::vector<Message> messages;
    bool loaded = false;
    std::optional<Message> liveMessage;
    AssistantState assistantState = AssistantState::idle;
    std::optional<std::string> lastError;
    std::optional<std::string> lastFinishReason;
    LoadingState loadingState = LoadingState::none;
    std::optional<std::string> loadingFailReason;
    int indexingProgress = 0;
    int totalPageNumber = 0;
    bool isScannedDocument = false;
    // The local model's weights are on disk (see IndexingUpdate).
    bool localModelInstalled = false;
    std::optional<std::string> highlightedText;
    bool shouldShowEditLastMessageForm = false;
    bool showDocumentListSidebar = false;
    std::string stringContext;
    bool shouldShowGoToPageForm = false;
    std::optional<int64_t> playingMessageID;
    bool downloadingSpeech = false;
    RecordingState recordingState = RecordingState::None;
    std::string latestTranscriptionContent;
    bool isSearching = false;
    std::string searchKeyword;
    std::vector<Message> searchResults;
    std::vector<std::string> imageURLs;

    int64_t id() const { return conversation.id; }

    // A reply is on its way or the documents are being read for the first
    // time: the compose box does not send.
    bool isBusy() const {
        return assistantState == AssistantState::thinking ||
               assistantState == AssistantState::typing || loadingState == LoadingState::indexing;
    }
};

}  // namespace folvane
