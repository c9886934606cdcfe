#include "chat/AppChatServiceError.h"

namespace folvane {

std::string AppChatServiceError::description(Case errorCase) {
    switch (errorCase) {
        case Case::initError:
            return "Initialization failed.";
        case Case::insertionFailed:
            return "Failed to insert the message.";
        case Case::emptyMessage:
            return "The message cannot be empty.";
        case Case::messageTooLong:
            return "Your prompt is too long. Try switching to another model or edit your prompt.";
        case Case::searchApiKeyMissing:
            return "Search API key is missing.";
        case Case::searchFailed:
            return "Search operation failed.";
        case Case::unsupportedApiProvider:
            return "Unsupported API provider.";
        case Case::apiKeyMissing:
            return "You haven't configured OpenAI API key yet";
        case Case::conversationGone:
            return "The chat was deleted while its answer arrived; the answer was not stored.";
    }
    return "Initialization failed.";
}

}  // namespace folvane
