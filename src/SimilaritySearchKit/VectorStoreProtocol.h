#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "store/IndexItem.h"

namespace folvane {

// Writes an index's items to one file and reads them back. Every operation
// throws on a file error.
class VectorStoreProtocol {
  public:
    virtual ~VectorStoreProtocol() = default;

    // Writes the items into `directory` under `name`; gives the file's path.
    virtual std::filesystem::path saveIndex(const std::vector<IndexItem>& items,
                                            const std::filesystem::path& directory,
                                            const std::string& name) = 0;
    virtual std::vector<IndexItem> loadIndex(const std::filesystem::path& file) = 0;
    // The index files of this store's kind in a directory, sorted by path.
    virtual std::vector<std::filesystem::path> listIndexes(
        const std::filesystem::path& directory) = 0;
};

}  // namespace folvane
