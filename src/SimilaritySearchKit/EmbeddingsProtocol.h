#pragma once

#include <optional>
#include <string>
#include <vector>

namespace folvane {

// Turns one text into a vector of 32-bit floats. No vector means the text could
// not be encoded. Callers run encodings from several threads at once, so an
// implementation serialises whatever its model needs serialised.
class EmbeddingsProtocol {
  public:
    virtual ~EmbeddingsProtocol() = default;
    virtual std::optional<std::vector<float>> encode(const std::string& sentence) = 0;
};

}  // namespace folvane
