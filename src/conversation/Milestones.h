#pragma once

#include <cstdint>

#include "conversation/UsageEvents.h"

namespace folvane {

class AppPreferences;

// The first-use milestones, each reported once per installation. Each has a
// flag in the settings; when the flag is set nothing happens, else the flag
// is set first and the event handed to the sender, so that a report that is
// lost is never sent again. "onboarding_opened" is the first-start step's.
// Called on the main thread; they throw nothing.
class Milestones {
  public:
    // A provider's key passed its check in a settings form or the key sheet:
    // "onboarding_setup".
    static void keyPassed(AppPreferences& preferences, const UsageEventSender& send);

    // The user sends a message in the chat `conversationId`: "onboarding_used";
    // "onboarding_aha" past the demo chat (id 1); "onboarding_activated" past
    // id 3; then "onboarding_setup", in that order.
    static void messageSent(AppPreferences& preferences, int64_t conversationId,
                            const UsageEventSender& send);
};

}  // namespace folvane
