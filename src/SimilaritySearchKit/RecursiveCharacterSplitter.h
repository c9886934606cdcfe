#pragma once

#include "SimilaritySearchKit/CharacterSplitter.h"

namespace folvane {

// Cuts a text at the first of "\n\n", "\n", ".", " " that leaves no part longer
// than `chunkSize` characters, and groups the parts, counting parts (not
// characters) against `chunkSize`. `chunkOverlap` plays no part. A text that
// no separator divides gives no chunks.
class RecursiveCharacterSplitter : public TextSplitterProtocol {
  public:
    TextSplitResult split(std::string_view text, int chunkSize, int chunkOverlap) const override;

    const CharacterSplitter& characterSplitter() const { return characterSplitter_; }

  private:
    CharacterSplitter characterSplitter_{std::string()};
};

}  // namespace folvane
