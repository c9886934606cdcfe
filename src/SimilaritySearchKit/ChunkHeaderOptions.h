#pragma once

#include <string>

namespace folvane {

// What CustomTokenSplitter puts in front of each chunk. The defaults are the
// values of the indexing flow.
struct ChunkHeaderOptions {
    std::string chunkHeader;
    std::string chunkOverlapHeader = "(cont'd) ";
    bool appendChunkOverlapHeader = false;
};

}  // namespace folvane
