#pragma once

#include <filesystem>
#include <mutex>

#include "store/KeyValueStore.h"

namespace folvane {

// Settings kept as one JSON object in a file. The file is read once, when the
// store is made; each change rewrites it whole and atomically (a temporary file
// in the same folder, flushed to disk, renamed over the old one), so a crash
// leaves either the old or the new settings. The folder is made when missing.
//
// A file that is not a JSON object is moved aside to "<name>.corrupt-<time>",
// never overwritten, and the store starts empty (when it cannot be moved, every
// change is refused). A change that cannot be written throws SettingsError and
// leaves the store as it was.
class JsonFileKeyValueStore : public KeyValueStore {
  public:
    explicit JsonFileKeyValueStore(std::filesystem::path file);

    std::optional<nlohmann::json> get(const std::string& key) const override;
    void set(const std::string& key, nlohmann::json value) override;
    void remove(const std::string& key) override;

    const std::filesystem::path& file() const { return file_; }

  private:
    void load();
    void moveAside(const std::string& reason);
    void save(const std::string& key);

    std::filesystem::path file_;
    mutable std::mutex mutex_;
    nlohmann::json values_ = nlohmann::json::object();
    bool writable_ = true;
};

}  // namespace folvane
