#include "conversation/FirstStartStep.h"

#include "store/AppPreferences.h"

namespace folvane {

void FirstStartStep::run(AppPreferences& preferences, const EventSender& sendEvent) {
    const bool chosen = preferences.isStored(Setting::dataIngestionStrategy);
    if (!preferences.onboardingOpened()) {
        if (sendEvent) sendEvent("onboarding_opened");
        preferences.setOnboardingOpened(true);
        if (!chosen) preferences.setDataIngestionStrategy(DataIngestionStrategy::smart);
    } else if (!chosen) {
        preferences.setDataIngestionStrategy(DataIngestionStrategy::local);
    }
}

}  // namespace folvane
