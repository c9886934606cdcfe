#include "store/MemoryKeyValueStore.h"

namespace folvane {

MemoryKeyValueStore::MemoryKeyValueStore(nlohmann::json initial) {
    if (initial.is_object()) values_ = std::move(initial);
}

std::optional<nlohmann::json> MemoryKeyValueStore::get(const std::string& key) const {
    std::lock_guard lock(mutex_);
    const auto found = values_.find(key);
    if (found == values_.end()) return std::nullopt;
    return *found;
}

void MemoryKeyValueStore::set(const std::string& key, nlohmann::json value) {
    std::lock_guard lock(mutex_);
    values_[key] = std::move(value);
}

void MemoryKeyValueStore::remove(const std::string& key) {
    std::lock_guard lock(mutex_);
    values_.erase(key);
}

nlohmann::json MemoryKeyValueStore::snapshot() const {
    std::lock_guard lock(mutex_);
    return values_;
}

}  // namespace folvane
