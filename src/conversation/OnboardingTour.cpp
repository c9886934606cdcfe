#include "conversation/OnboardingTour.h"

#include "platform/Log.h"
#include "store/AppPreferences.h"
#include "store/SettingsError.h"

namespace folvane {
namespace {

using Step = OnboardingTourStep;

std::string quoted(std::string_view text) {
    return "\u201c" + std::string(text) + "\u201d";
}

}  // namespace

TourCardText OnboardingTour::text(TourCard card) {
    switch (card) {
        case TourCard::welcome:
            return {"Welcome to Folvane (1/5)", "To start, double-click on the Example Chat below.",
                    "Continue"};
        case TourCard::setUp:
            return {"Set up (2/5)",
                    "Folvane answers with OpenAI's models. To set it up, enter your own "
                    "OpenAI's API Key",
                    "Enter OpenAI API Key"};
        case TourCard::askQuestion:
            return {"Ask a Question (3/5)",
                    "Ask any question. For example:\n" + quoted(sampleQuestion),
                    "Ask " + quoted(sampleQuestion)};
        case TourCard::advancedParameters:
            return {"Advanced Parameters (4/5)", "Click this button to tweak advanced parameters",
                    "Continue"};
        case TourCard::openDocuments:
            return {"That's it (5/5)", "Now, click this button to open your PDFs", "Continue"};
        case TourCard::none:
            break;
    }
    return {};
}

TourView OnboardingTour::view(TourCard card) {
    return card == TourCard::welcome || card == TourCard::openDocuments ? TourView::startWindow
                                                                        : TourView::chatWindow;
}

bool OnboardingTour::holds(TourCard card, const TourFacts& facts) {
    if (facts.ended) return false;
    switch (card) {
        case TourCard::welcome:
            return facts.chatCount <= 1 && facts.step == Step::stepZero;
        case TourCard::setUp:
            return facts.step == Step::stepSetup && !facts.chatReady;
        case TourCard::askQuestion:
            return facts.step == Step::stepChatMessage ||
                   (facts.step == Step::stepSetup && facts.chatReady);
        case TourCard::advancedParameters:
            return facts.step == Step::stepCustomize;
        case TourCard::openDocuments:
            return facts.chatCount <= 1 && facts.step == Step::stepOpen;
        case TourCard::none:
            break;
    }
    return false;
}

TourCard OnboardingTour::shown(TourView where, const TourFacts& facts) {
    for (TourCard card : {TourCard::welcome, TourCard::setUp, TourCard::askQuestion,
                          TourCard::advancedParameters, TourCard::openDocuments}) {
        if (view(card) == where && holds(card, facts)) return card;
    }
    return TourCard::none;
}

TourFacts OnboardingTour::afterContinue(TourCard card, TourFacts facts) {
    facts = afterClose(card, facts);
    switch (card) {
        case TourCard::welcome:
            if (facts.chatCount > 0) facts.step = Step::stepSetup;
            break;
        case TourCard::askQuestion:
            facts.step = Step::stepCustomize;
            break;
        case TourCard::advancedParameters:
            facts.step = Step::stepOpen;
            break;
        case TourCard::openDocuments:
            facts.ended = true;
            facts.step = Step::stepZero;
            break;
        case TourCard::setUp:
        case TourCard::none:
            break;
    }
    return facts;
}

TourFacts OnboardingTour::afterEnd(TourCard card, TourFacts facts) {
    facts = afterClose(card, facts);
    facts.ended = true;
    return facts;
}

TourFacts OnboardingTour::afterClose(TourCard card, TourFacts facts) {
    if (!holds(card, facts)) return facts;
    if (card == TourCard::advancedParameters) {
        facts.step = Step::stepOpen;
    } else if (card == TourCard::openDocuments) {
        facts.ended = true;
        facts.step = Step::stepZero;
    }
    return facts;
}

TourFacts OnboardingTour::afterChatOpened(TourFacts facts) {
    if (holds(TourCard::welcome, facts)) facts.step = Step::stepSetup;
    return facts;
}

TourFacts OnboardingTour::afterMessageSent(TourFacts facts) {
    if (holds(TourCard::askQuestion, facts)) facts.step = Step::stepCustomize;
    return facts;
}

TourFacts OnboardingTour::facts(const AppPreferences& preferences, std::size_t chatCount) {
    return {preferences.onboardingTourStep(), preferences.onboardingTourEnded(), chatCount,
            preferences.chatReady()};
}

void OnboardingTour::store(AppPreferences& preferences, const TourFacts& facts) {
    try {
        // The end first: an observer that hears the step change must not see
        // a card of a tour that is over.
        if (preferences.onboardingTourEnded() != facts.ended) {
            preferences.setOnboardingTourEnded(facts.ended);
        }
        if (preferences.onboardingTourStep() != facts.step) {
            preferences.setOnboardingTourStep(facts.step);
        }
    } catch (const SettingsError& error) {
        // The tour is a guide and nothing depends on it: with settings that
        // cannot be written it stays where it was, and the user goes on.
        log(error.what());
    }
}

void OnboardingTour::chatOpened(AppPreferences& preferences, std::size_t chatCount) {
    store(preferences, afterChatOpened(facts(preferences, chatCount)));
}

void OnboardingTour::messageSent(AppPreferences& preferences) {
    store(preferences, afterMessageSent(facts(preferences)));
}

}  // namespace folvane
