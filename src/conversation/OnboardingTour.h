#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "store/OnboardingTourStep.h"

namespace folvane {

class AppPreferences;

// The five cards of the first-use tour, in their order.
enum class TourCard {
    none,
    welcome,             // 1, the start window's list of chats
    setUp,               // 2, a chat's transcript
    askQuestion,         // 3, a chat's message box
    advancedParameters,  // 4, a chat's "Chat Settings" button
    openDocuments,       // 5, the start window's "Start a new chat..." button
};

// The window that holds a card.
enum class TourView { startWindow, chatWindow };

// What the cards are tested on: the two stored settings of the tour, the
// number of chats in the start window's list and whether a chat can be
// answered (AppPreferences::chatReady).
struct TourFacts {
    OnboardingTourStep step = OnboardingTourStep::stepZero;
    bool ended = false;
    std::size_t chatCount = 0;
    bool chatReady = false;

    bool operator==(const TourFacts&) const = default;
};

struct TourCardText {
    std::string title;
    std::string message;
    std::string continueLabel;  // the confirming button's words, without the arrow
};

// The tour's rules, as pure functions of the facts, and their application to
// the settings. Only the step and the end are lasting; whether a card shows
// is the view's own state.
class OnboardingTour {
  public:
    static constexpr std::string_view sampleQuestion = "How does Bitcoin work?";
    static constexpr std::string_view endLabel = "End tour";

    static TourCardText text(TourCard card);
    // The view that holds the card.
    static TourView view(TourCard card);

    // Whether the card's test holds.
    static bool holds(TourCard card, const TourFacts& facts);
    // The card that a view shows for these facts, or none. At most one card
    // of a view holds at a time.
    static TourCard shown(TourView view, const TourFacts& facts);

    // The facts after the card's confirming button (its settings only: the
    // view runs the button's other work, such as opening a chat). The button
    // closes the card first.
    static TourFacts afterContinue(TourCard card, TourFacts facts);
    // After "End tour": the card closes, then the tour ends.
    static TourFacts afterEnd(TourCard card, TourFacts facts);
    // After the card closed any other way (Escape): the advanced parameters
    // move on to the documents, and the last card ends the tour, while their
    // tests still hold.
    static TourFacts afterClose(TourCard card, TourFacts facts);
    // A chat opened from the start window's list while the first card holds.
    static TourFacts afterChatOpened(TourFacts facts);
    // The user sent a message while the question's card holds.
    static TourFacts afterMessageSent(TourFacts facts);

    // The facts of the settings, with the start window's chat count.
    static TourFacts facts(const AppPreferences& preferences, std::size_t chatCount = 0);
    // Writes the step and the end where they differ from the settings. A write
    // that fails is logged: the tour stays where it was.
    static void store(AppPreferences& preferences, const TourFacts& facts);

    // The rules applied to the settings, for the two ways forward that are
    // not a card's buttons.
    static void chatOpened(AppPreferences& preferences, std::size_t chatCount);
    static void messageSent(AppPreferences& preferences);
};

}  // namespace folvane
