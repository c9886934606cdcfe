#include "documents/IndexingState.h"

namespace folvane {

std::string_view rawValue(IndexingState state) {
    switch (state) {
        case IndexingState::none:
            return "none";
        case IndexingState::indexing:
            return "indexing";
        case IndexingState::indexed:
            return "indexed";
        case IndexingState::failed:
            return "failed";
    }
    return "none";
}

std::optional<IndexingState> indexingStateFromRaw(std::string_view raw) {
    for (auto state : {IndexingState::none, IndexingState::indexing, IndexingState::indexed,
                       IndexingState::failed}) {
        if (rawValue(state) == raw) return state;
    }
    return std::nullopt;
}

}  // namespace folvane
