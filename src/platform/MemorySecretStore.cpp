#include "platform/MemorySecretStore.h"

namespace folvane {
namespace {

// Overwrites a secret's bytes before its memory is given back.
void wipe(std::string& secret) {
    volatile char* bytes = secret.data();
    for (std::size_t i = 0; i < secret.size(); ++i) bytes[i] = 0;
    secret.clear();
}

}  // namespace

MemorySecretStore::MemorySecretStore(std::string prefix) : prefix_(std::move(prefix)) {}

MemorySecretStore::~MemorySecretStore() {
    for (auto& [name, secret] : items_) wipe(secret);
}

std::optional<std::string> MemorySecretStore::read(const std::string& name) {
    std::lock_guard lock(mutex_);
    const auto found = items_.find(prefix_ + name);
    if (found == items_.end()) return std::nullopt;
    return found->second;
}

bool MemorySecretStore::write(const std::string& name, const std::string& secret) {
    std::lock_guard lock(mutex_);
    auto& stored = items_[prefix_ + name];
    wipe(stored);
    stored = secret;
    return true;
}

bool MemorySecretStore::remove(const std::string& name) {
    std::lock_guard lock(mutex_);
    const auto found = items_.find(prefix_ + name);
    if (found == items_.end()) return true;
    wipe(found->second);
    items_.erase(found);
    return true;
}

}  // namespace folvane
