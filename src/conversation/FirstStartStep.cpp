#include "conversation/FirstStartStep.h"

#include "store/AppPreferences.h"

namespace folvane {

void FirstStartStep::run(AppPreferences& preferences, const EventSender& sendEvent) {
    const bool chosen = preferences.isStored(Setting::dataIngestionStrategy);
    if (!preferences.onboardingOpened()) {
        // The flag before the report: a report that is lost is not sent again.
        preferences.setOnboardingOpened(true);
        if (sendEvent) sendEvent("onboarding_opened");
        if (!chosen) preferences.setDataIngestionStrategy(DataIngestionStrategy::smart);
    } else if (!chosen) {
        preferences.setDataIngestionStrategy(DataIngestionStrategy::local);
    }
}

}  // namespace folvane
