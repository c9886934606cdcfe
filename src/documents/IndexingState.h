#pragma once

#include <optional>
#include <string_view>

namespace folvane {

// Where one document of an open chat stands, for its line in the document list.
// The raw value is the case name.
enum class IndexingState { none, indexing, indexed, failed };

std::string_view rawValue(IndexingState state);
std::optional<IndexingState> indexingStateFromRaw(std::string_view raw);

}  // namespace folvane
