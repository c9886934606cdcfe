#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "store/Message.h"
#include "store/Reference.h"

namespace folvane {

class Recording;

// Where a search in a chat looks: the documents in the viewer, or the messages.
enum class SearchScope { pdf, chat };

// Every action on one chat, as a case struct each; the order is that of the
// view model's input table.
namespace chat_input {

struct RebuildIndex {
    int64_t bookmarkId = 0;
    bool forceOCR = false;
};
// Embeds a document again with the downloaded local model.
struct ReembedWithLocalModel {
    int64_t bookmarkId = 0;
};
struct RemoveFromChat {
    int64_t bookmarkId = 0;
};
struct AddMessage {
    std::string text;
};
struct DeleteMessage {
    int64_t messageId = 0;
};
struct AddImages {
    std::vector<std::string> urls;
};
struct RemoveImages {
    std::vector<std::string> urls;
};
struct UpdateMessageContent {
    int64_t id = 0;
    std::string text;
    bool resend = false;
};
struct UpdateTitle {
    std::string title;
};
struct UpdateTemperature {
    double temperature = 0;
};
struct UpdateLanguageCode {
    std::string code;
};
struct UpdateModel {
    std::string model;
};
struct UpdateCustomModel {
    int64_t customModelId = 0;
};
struct UpdateUseWebSearch {
    bool on = false;
};
struct UpdatePresencePenalty {
    double penalty = 0;
};
struct UpdateFrequencyPenalty {
    double penalty = 0;
};
struct UpdateContextLimit {
    int limit = 0;
};
struct UpdateBookmark {
    int64_t bookmarkId = 0;
    std::string url;
};
struct AddDocuments {
    std::vector<std::string> urls;
};
struct HighlightContentForReference {
    Reference reference;
};
struct OpenExportAsDialog {
    std::string format;  // the raw value of the export format: "markdown", "json", "html"
};
struct GoToPage {
    int page = 0;
};
struct Find {
    std::string keyword;
    SearchScope scope = SearchScope::chat;
};
struct UseContentAsMessageContext {
    std::string text;
};
struct GoToReference {
    Reference reference;
};
struct Speak {
    Message message;
};
struct StartRecording {
    std::shared_ptr<Recording> recording;
};
struct StopRecording {
    std::shared_ptr<Recording> recording;
};
struct LoadIndex {};
struct LoadIndexUsingOpenAI {};
struct UnloadIndex {};
struct Sync {};
struct UpdateCosts {};
struct CancelRequest {};
struct Regenerate {};
struct ContinueGenerating {};
struct ShowEditLastMessageForm {};
struct HideEditLastMessageForm {};
struct ShowGoToForm {};
struct HideGoToForm {};
struct CopyLastResponse {};
struct ResetContext {};
struct ClearContextMarkers {};
struct DeleteAllMessages {};
struct GoToPreviousPage {};
struct GoToNextPage {};
struct GoBack {};
struct GoForward {};
struct FindNext {};
struct FindPrevious {};
struct ResetMessageContext {};
struct StopSpeak {};

}  // namespace chat_input

using ChatDetailInput = std::variant<
    chat_input::RebuildIndex, chat_input::ReembedWithLocalModel, chat_input::RemoveFromChat,
    chat_input::AddMessage, chat_input::DeleteMessage, chat_input::AddImages,
    chat_input::RemoveImages, chat_input::UpdateMessageContent, chat_input::UpdateTitle,
    chat_input::UpdateTemperature, chat_input::UpdateLanguageCode, chat_input::UpdateModel,
    chat_input::UpdateCustomModel, chat_input::UpdateUseWebSearch,
    chat_input::UpdatePresencePenalty, chat_input::UpdateFrequencyPenalty,
    chat_input::UpdateContextLimit, chat_input::UpdateBookmark, chat_input::AddDocuments,
    chat_input::HighlightContentForReference, chat_input::OpenExportAsDialog, chat_input::GoToPage,
    chat_input::Find, chat_input::UseContentAsMessageContext, chat_input::GoToReference,
    chat_input::Speak, chat_input::StartRecording, chat_input::StopRecording, chat_input::LoadIndex,
    chat_input::LoadIndexUsingOpenAI, chat_input::UnloadIndex, chat_input::Sync,
    chat_input::UpdateCosts, chat_input::CancelRequest, chat_input::Regenerate,
    chat_input::ContinueGenerating, chat_input::ShowEditLastMessageForm,
    chat_input::HideEditLastMessageForm, chat_input::ShowGoToForm, chat_input::HideGoToForm,
    chat_input::CopyLastResponse, chat_input::ResetContext, chat_input::ClearContextMarkers,
    chat_input::DeleteAllMessages, chat_input::GoToPreviousPage, chat_input::GoToNextPage,
    chat_input::GoBack, chat_input::GoForward, chat_input::FindNext, chat_input::FindPrevious,
    chat_input::ResetMessageContext, chat_input::StopSpeak>;

}  // namespace folvane
