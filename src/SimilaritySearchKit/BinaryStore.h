#pragma once

#include "SimilaritySearchKit/VectorStoreProtocol.h"

namespace folvane {

// Index files as LZMA-compressed records, <name>.dat: each record a little-endian
// 32-bit length and that many bytes of one item's JSON.
class BinaryStore : public VectorStoreProtocol {
  public:
    BinaryStore();

    std::filesystem::path saveIndex(const std::vector<IndexItem>& items,
                                    const std::filesystem::path& directory,
                                    const std::string& name) override;
    std::vector<IndexItem> loadIndex(const std::filesystem::path& file) override;
    std::vector<std::filesystem::path> listIndexes(const std::filesystem::path& directory) override;
};

}  // namespace folvane
