#pragma once

#include <optional>
#include <string>

#include "SimilaritySearchKit/TextSplitterProtocol.h"

namespace folvane {

// Cuts a text at `separator` and groups the pieces `chunkSize` at a time, each
// group repeating the last `chunkOverlap` pieces of the one before. An empty
// separator does not cut. Gives no token lists.
class CharacterSplitter : public TextSplitterProtocol {
  public:
    explicit CharacterSplitter(std::optional<std::string> separator = std::nullopt);

    TextSplitResult split(std::string_view text, int chunkSize, int chunkOverlap) const override;

    const std::string& separator() const { return separator_; }

  private:
    std::string separator_;
};

}  // namespace folvane
