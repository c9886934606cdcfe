#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace folvane {

// The chunks of a text and, for splitters that know them, the tokens of each chunk.
struct TextSplitResult {
    std::vector<std::string> chunks;
    std::optional<std::vector<std::vector<std::string>>> tokens;

    bool operator==(const TextSplitResult&) const = default;
};

// Text in, chunks out. Implementations hold no mutable state after construction.
class TextSplitterProtocol {
  public:
    virtual ~TextSplitterProtocol() = default;

    virtual TextSplitResult split(std::string_view text, int chunkSize, int chunkOverlap) const = 0;
};

}  // namespace folvane
