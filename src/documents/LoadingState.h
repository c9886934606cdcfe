#pragma once

#include <optional>
#include <string_view>

namespace folvane {

// How far a chat's indexes are. The raw value is the case name.
enum class LoadingState {
    none,           // nothing has started
    indexing,       // documents are processed for the first time, with progress
    indexed,        // declared, never set by the indexing flow
    loading,        // only stored rows are read back
    indexingExtra,  // the one document of a chat is processed again
    loaded,         // the indexes are ready
    failed,         // the fail reason says why
};

std::string_view rawValue(LoadingState state);
std::optional<LoadingState> loadingStateFromRaw(std::string_view raw);

}  // namespace folvane
