#pragma once

#include <memory>

#include "SimilaritySearchKit/SimilarityIndex.h"

namespace folvane {

// The three indexes of an open chat, as they stand; absent ones are null.
struct ChatIndexes {
    std::shared_ptr<SimilarityIndex> local;
    std::shared_ptr<SimilarityIndex> openai;
    std::shared_ptr<SimilarityIndex> openaiNew;
};

}  // namespace folvane
