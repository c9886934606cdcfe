#pragma once

#include <optional>
#include <string>

namespace folvane {

// A store for secrets, such as API keys, kept out of plain files. Items are
// named by the caller; the store puts its prefix before each name.
class SecretStore {
  public:
    virtual ~SecretStore() = default;

    // The secret under a name, or nothing when there is none or the store fails.
    virtual std::optional<std::string> read(const std::string& name) = 0;
    // Each returns whether the store did it; removing a missing item succeeds.
    virtual bool write(const std::string& name, const std::string& secret) = 0;
    virtual bool remove(const std::string& name) = 0;

    // Whether items outlive the process.
    virtual bool isPersistent() const = 0;
    // Where items are kept, in words for the user.
    virtual std::string location() const = 0;
};

}  // namespace folvane
