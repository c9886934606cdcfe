#include "documents/LoadingState.h"

namespace folvane {

std::string_view rawValue(LoadingState state) {
    switch (state) {
        case LoadingState::none:
            return "none";
        case LoadingState::indexing:
            return "indexing";
        case LoadingState::indexed:
            return "indexed";
        case LoadingState::loading:
            return "loading";
        case LoadingState::indexingExtra:
            return "indexingExtra";
        case LoadingState::loaded:
            return "loaded";
        case LoadingState::failed:
            return "failed";
    }
    return "none";
}

std::optional<LoadingState> loadingStateFromRaw(std::string_view raw) {
    for (auto state :
         {LoadingState::none, LoadingState::indexing, LoadingState::indexed, LoadingState::loading,
          LoadingState::indexingExtra, LoadingState::loaded, LoadingState::failed}) {
        if (rawValue(state) == raw) return state;
    }
    return std::nullopt;
}

}  // namespace folvane
