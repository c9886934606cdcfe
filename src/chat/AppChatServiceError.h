#pragma once

#include <stdexcept>
#include <string>

namespace folvane {

// The errors the chat service raises; what() is the text the user reads.
class AppChatServiceError : public std::runtime_error {
  public:
    enum class Case {
        initError,
        insertionFailed,
        emptyMessage,
        messageTooLong,
        searchApiKeyMissing,
        searchFailed,
        unsupportedApiProvider,
        apiKeyMissing,
        conversationGone,
    };

    explicit AppChatServiceError(Case errorCase)
        : std::runtime_error(description(errorCase)), case_(errorCase) {}

    Case errorCase() const { return case_; }
    static std::string description(Case errorCase);

  private:
    Case case_;
};

}  // namespace folvane
