#pragma once

#include <stdexcept>

namespace folvane {

// The model could not be read: the file is missing, truncated or not the
// expected architecture. what() says which, for the log.
class EmbeddingModelLoadError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace folvane
