#pragma once

#include <stdexcept>
#include <string>

namespace folvane {

// A plain response with no body.
class OpenAIError : public std::runtime_error {
  public:
    enum class Case { emptyData };

    explicit OpenAIError(Case errorCase)
        : std::runtime_error("The server returned no data."), case_(errorCase) {}

    Case errorCase() const { return case_; }

  private:
    Case case_;
};

// A stream block that cannot be read. Only `unknownContent` is raised.
class StreamingError : public std::runtime_error {
  public:
    enum class Case { unknownContent, emptyContent };

    explicit StreamingError(Case errorCase)
        : std::runtime_error(errorCase == Case::unknownContent
                                 ? "The stream held bytes that are not text."
                                 : "The stream was empty."),
          case_(errorCase) {}

    Case errorCase() const { return case_; }

  private:
    Case case_;
};

}  // namespace folvane
