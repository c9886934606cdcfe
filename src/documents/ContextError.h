#pragma once

#include <stdexcept>

namespace folvane {

// Why the documents' part of a question cannot be made; what() is the
// user's words.
class ContextError : public std::runtime_error {
  public:
    enum class Case {
        noIndex,         // the chat's indexes are not loaded
        messageTooLong,  // the instruction and the question pass the context length
    };

    explicit ContextError(Case errorCase)
        : std::runtime_error(errorCase == Case::noIndex
                                 ? "The documents of this chat are not loaded yet."
                                 : "Your prompt is too long. Try switching to another model or "
                                   "edit your prompt."),
          case_(errorCase) {}

    Case errorCase() const { return case_; }

  private:
    Case case_;
};

}  // namespace folvane
