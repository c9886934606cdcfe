#include "conversation/Milestones.h"

#include "platform/Log.h"
#include "store/AppPreferences.h"
#include "store/SettingsError.h"

namespace folvane {
namespace {

constexpr int64_t demoChatId = 1;
constexpr int64_t activationChatId = 3;

void reach(AppPreferences& preferences, Setting flag, const char* event,
           const UsageEventSender& send) {
    if (preferences.value(flag).get<bool>()) return;
    try {
        preferences.setValue(flag, true);
    } catch (const SettingsError& error) {
        // Settings that cannot be written keep the flag down, and the
        // milestone waits for its next occasion; what the user was doing goes on.
        log(error.what());
        return;
    }
    if (send) send(event);
}

}  // namespace

void Milestones::keyPassed(AppPreferences& preferences, const UsageEventSender& send) {
    reach(preferences, Setting::onboardingSetup, "onboarding_setup", send);
}

void Milestones::messageSent(AppPreferences& preferences, int64_t conversationId,
                             const UsageEventSender& send) {
    reach(preferences, Setting::onboardingUsed, "onboarding_used", send);
    if (conversationId > demoChatId) {
        reach(preferences, Setting::onboardingAha, "onboarding_aha", send);
    }
    if (conversationId > activationChatId) {
        reach(preferences, Setting::onboardingActivated, "onboarding_activated", send);
    }
    reach(preferences, Setting::onboardingSetup, "onboarding_setup", send);
}

}  // namespace folvane
