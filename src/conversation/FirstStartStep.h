#pragma once

#include <functional>
#include <string>

namespace folvane {

class AppPreferences;

// The one-time step of the start window's first appearance in a process: it
// marks the onboarding as opened and chooses how documents are indexed. A new
// installation starts with the smart strategy; one that was opened before,
// and never chose, keeps the older on-device behaviour.
class FirstStartStep {
  public:
    // Receives the name of a usage event to send.
    using EventSender = std::function<void(const std::string& name)>;

    static void run(AppPreferences& preferences, const EventSender& sendEvent = {});
};

}  // namespace folvane
