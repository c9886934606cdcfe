#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace folvane {

// A per-user store of settings: JSON values under string keys. Each change is
// kept at once; a change that cannot be kept throws SettingsError and leaves
// the store as it was.
class KeyValueStore {
  public:
    virtual ~KeyValueStore() = default;

    virtual std::optional<nlohmann::json> get(const std::string& key) const = 0;
    virtual void set(const std::string& key, nlohmann::json value) = 0;
    virtual void remove(const std::string& key) = 0;
    virtual bool contains(const std::string& key) const { return get(key).has_value(); }
};

}  // namespace folvane
