#pragma once

#include "SimilaritySearchKit/VectorStoreProtocol.h"

namespace folvane {

// Index files as one JSON array of items, <name>.json.
class JsonStore : public VectorStoreProtocol {
  public:
    std::filesystem::path saveIndex(const std::vector<IndexItem>& items,
                                    const std::filesystem::path& directory,
                                    const std::string& name) override;
    std::vector<IndexItem> loadIndex(const std::filesystem::path& file) override;
    std::vector<std::filesystem::path> listIndexes(const std::filesystem::path& directory) override;
};

}  // namespace folvane
