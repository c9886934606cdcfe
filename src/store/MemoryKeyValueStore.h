#pragma once

#include <mutex>

#include "store/KeyValueStore.h"

namespace folvane {

// Settings held in memory only: for tests and for a run that keeps nothing.
class MemoryKeyValueStore : public KeyValueStore {
  public:
    MemoryKeyValueStore() = default;
    explicit MemoryKeyValueStore(nlohmann::json initial);

    std::optional<nlohmann::json> get(const std::string& key) const override;
    void set(const std::string& key, nlohmann::json value) override;
    void remove(const std::string& key) override;

    // Every key and value, as one JSON object.
    nlohmann::json snapshot() const;

  private:
    mutable std::mutex mutex_;
    nlohmann::json values_ = nlohmann::json::object();
};

}  // namespace folvane
