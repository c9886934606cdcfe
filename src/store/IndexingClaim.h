#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

namespace folvane {

// The right to index one document, held by one indexer of one process at a
// time. It is an exclusive lock on a small file beside the database, so the
// system drops it when the holder ends, even by a crash; a claim is released
// when the object is destroyed.
class IndexingClaim {
  public:
    // The claim on the lock file at path, or none when another holder has it.
    // Throws DatabaseError when the lock file cannot be made.
    static std::optional<IndexingClaim> tryClaim(const std::filesystem::path& path);
    // A claim with no file, for a database that lives in memory.
    IndexingClaim() = default;

    ~IndexingClaim();
    IndexingClaim(IndexingClaim&& other) noexcept;
    IndexingClaim& operator=(IndexingClaim&& other) noexcept;
    IndexingClaim(const IndexingClaim&) = delete;
    IndexingClaim& operator=(const IndexingClaim&) = delete;

  private:
    explicit IndexingClaim(int descriptor) : descriptor_(descriptor) {}

    int descriptor_ = -1;
};

}  // namespace folvane
