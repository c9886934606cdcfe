#pragma once

#include <chrono>

#include "platform/SecretStore.h"

namespace folvane {

// Secrets in the desktop's Secret Service (through libsecret), in its default
// collection. Each item carries the attribute "item" = prefix + name under the
// schema "co.tessavel.Folvane". The secret text is never logged.
class LibsecretSecretStore : public SecretStore {
  public:
    explicit LibsecretSecretStore(std::string prefix);

    // Whether the session bus answers and a Secret Service runs on it or can be
    // started there, decided within the timeout. The bus is the one named by
    // DBUS_SESSION_BUS_ADDRESS, else $XDG_RUNTIME_DIR/bus; none is ever launched,
    // so a process with no session bus is told "no" at once.
    static bool isServiceReachable(std::chrono::milliseconds timeout = std::chrono::seconds(2));

    std::optional<std::string> read(const std::string& name) override;
    bool write(const std::string& name, const std::string& secret) override;
    bool remove(const std::string& name) override;
    bool isPersistent() const override { return true; }
    std::string location() const override { return "the Secret Service"; }

  private:
    std::string prefix_;
};

}  // namespace folvane
