#include "conversation/ChatLabel.h"

#include "conversation/ChatDetailState.h"
#include "providers/ModelNames.h"

namespace folvane {

std::string chatModelLabel(const ChatDetailState& chat) {
    if (chat.customModel) return chat.customModel->name;
    return modelDisplayName(chat.conversation.model, providers::openAI);
}

std::string chatRowDetail(const ChatDetailState& chat) {
    std::string text;
    const size_t documents = chat.conversation.allBookmarkIds().size();
    if (documents >= 2) text = std::to_string(documents) + " documents · ";
    text += std::to_string(chat.conversation.messageCount.value_or(0));
    text += " messages · ";
    text += chatModelLabel(chat);
    return text;
}

}  // namespace folvane
