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

// A stream that cannot be read to its end.
class StreamingError : public std::runtime_error {
  public:
    enum class Case {
        unknownContent,  // bytes that are not text
        emptyContent,    // no body at all
        cutOff,          // the body ended in the middle of an event
        notAStream,      // a body without events where a stream was asked
        oversized,       // a line too long to hold
    };

    explicit StreamingError(Case errorCase)
        : std::runtime_error(words(errorCase)), case_(errorCase) {}

    Case errorCase() const { return case_; }

  private:
    static const char* words(Case errorCase) {
        switch (errorCase) {
            case Case::unknownContent:
                return "The stream held bytes that are not text.";
            case Case::emptyContent:
                return "The server answered with an empty stream.";
            case Case::cutOff:
                return "The answer was cut off: the connection closed before the server "
                       "finished it.";
            case Case::notAStream:
                return "The server answered with a single response instead of a stream; "
                       "the answer could not be read.";
            case Case::oversized:
                return "The server sent a stream event too large to read.";
        }
        return "The stream could not be read.";
    }

    Case case_;
};

}  // namespace folvane
