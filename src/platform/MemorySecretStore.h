#pragma once

#include <map>
#include <mutex>

#include "platform/SecretStore.h"

namespace folvane {

// Secrets held in this process's memory only, lost at exit: the stand-in when
// no Secret Service is reachable, and the store of unit tests.
class MemorySecretStore : public SecretStore {
  public:
    explicit MemorySecretStore(std::string prefix);
    ~MemorySecretStore() override;

    std::optional<std::string> read(const std::string& name) override;
    bool write(const std::string& name, const std::string& secret) override;
    bool remove(const std::string& name) override;
    bool isPersistent() const override { return false; }
    std::string location() const override { return "memory only, for this session"; }

  private:
    std::string prefix_;
    std::mutex mutex_;
    std::map<std::string, std::string> items_;
};

}  // namespace folvane
