#include <gtest/gtest.h>

#include "conversation/OnboardingTour.h"

namespace folvane {
namespace {

using Step = OnboardingTourStep;
using Card = TourCard;

std::string describe(const TourFacts& f) {
    return std::string(rawValue(f.step)) + (f.ended ? " ended" : "") + ", " +
           std::to_string(f.chatCount) + " chats" + (f.chatReady ? ", ready" : "");
}

TEST(OnboardingTourTest, TheCardEachWindowShows) {
    struct Case {
        TourFacts facts;
        Card start;
        Card chat;
    };
    const std::vector<Case> cases{
        {{Step::stepZero, false, 1, false}, Card::welcome, Card::none},
        {{Step::stepZero, false, 0, true}, Card::welcome, Card::none},
        {{Step::stepZero, false, 2, false}, Card::none, Card::none},
        {{Step::stepChatList, false, 1, false}, Card::none, Card::none},
        {{Step::stepSetup, false, 1, false}, Card::none, Card::setUp},
        // A key or a default custom model skips straight to the question.
        {{Step::stepSetup, false, 1, true}, Card::none, Card::askQuestion},
        {{Step::stepChatMessage, false, 1, false}, Card::none, Card::askQuestion},
        {{Step::stepChatMessage, false, 3, true}, Card::none, Card::askQuestion},
        {{Step::stepCustomize, false, 5, true}, Card::none, Card::advancedParameters},
        {{Step::stepOpen, false, 1, true}, Card::openDocuments, Card::none},
        {{Step::stepOpen, false, 2, true}, Card::none, Card::none},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(OnboardingTour::shown(TourView::startWindow, c.facts), c.start)
            << describe(c.facts);
        EXPECT_EQ(OnboardingTour::shown(TourView::chatWindow, c.facts), c.chat)
            << describe(c.facts);
        // An ended tour shows nothing, whatever the step.
        TourFacts ended = c.facts;
        ended.ended = true;
        EXPECT_EQ(OnboardingTour::shown(TourView::startWindow, ended), Card::none);
        EXPECT_EQ(OnboardingTour::shown(TourView::chatWindow, ended), Card::none);
    }
}

TEST(OnboardingTourTest, WhereEachWayForwardLeadsTheTour) {
    enum class Way { continued, endTour, closed, chatOpened, messageSent };
    struct Case {
        const char* what;
        Way way;
        Card card;
        TourFacts before;
        Step step;
        bool ended;
    };
    const TourFacts welcome{Step::stepZero, false, 1, false};
    const TourFacts setUp{Step::stepSetup, false, 1, false};
    const TourFacts ask{Step::stepSetup, false, 1, true};
    const TourFacts customize{Step::stepCustomize, false, 1, true};
    const TourFacts open{Step::stepOpen, false, 1, true};
    const std::vector<Case> cases{
        {"welcome, Continue", Way::continued, Card::welcome, welcome, Step::stepSetup, false},
        {"welcome, Continue, no chat",
         Way::continued,
         Card::welcome,
         {Step::stepZero, false, 0, false},
         Step::stepZero,
         false},
        {"welcome, double-click", Way::chatOpened, Card::none, welcome, Step::stepSetup, false},
        {"two chats, double-click",
         Way::chatOpened,
         Card::none,
         {Step::stepZero, false, 2, false},
         Step::stepZero,
         false},
        {"ended, double-click",
         Way::chatOpened,
         Card::none,
         {Step::stepZero, true, 1, false},
         Step::stepZero,
         true},
        {"welcome, closed", Way::closed, Card::welcome, welcome, Step::stepZero, false},
        {"set up, Enter the key", Way::continued, Card::setUp, setUp, Step::stepSetup, false},
        {"ask, the sample question", Way::continued, Card::askQuestion, ask, Step::stepCustomize,
         false},
        {"ask, a message of one's own", Way::messageSent, Card::none, ask, Step::stepCustomize,
         false},
        {"stepChatMessage, a message",
         Way::messageSent,
         Card::none,
         {Step::stepChatMessage, false, 1, false},
         Step::stepCustomize,
         false},
        {"no key, a message", Way::messageSent, Card::none, setUp, Step::stepSetup, false},
        {"later, a message", Way::messageSent, Card::none, open, Step::stepOpen, false},
        {"ask, End tour", Way::endTour, Card::askQuestion, ask, Step::stepSetup, true},
        {"ask, closed", Way::closed, Card::askQuestion, ask, Step::stepSetup, false},
        {"customize, Continue", Way::continued, Card::advancedParameters, customize, Step::stepOpen,
         false},
        {"customize, closed", Way::closed, Card::advancedParameters, customize, Step::stepOpen,
         false},
        {"customize, closed after it moved on", Way::closed, Card::advancedParameters, open,
         Step::stepOpen, false},
        {"open, Continue", Way::continued, Card::openDocuments, open, Step::stepZero, true},
        {"open, closed", Way::closed, Card::openDocuments, open, Step::stepZero, true},
        {"open, closed with two chats",
         Way::closed,
         Card::openDocuments,
         {Step::stepOpen, false, 2, true},
         Step::stepOpen,
         false},
        {"welcome, End tour", Way::endTour, Card::welcome, welcome, Step::stepZero, true},
    };
    for (const auto& c : cases) {
        TourFacts after;
        switch (c.way) {
            case Way::continued:
                after = OnboardingTour::afterContinue(c.card, c.before);
                break;
            case Way::endTour:
                after = OnboardingTour::afterEnd(c.card, c.before);
                break;
            case Way::closed:
                after = OnboardingTour::afterClose(c.card, c.before);
                break;
            case Way::chatOpened:
                after = OnboardingTour::afterChatOpened(c.before);
                break;
            case Way::messageSent:
                after = OnboardingTour::afterMessageSent(c.before);
                break;
        }
        EXPECT_EQ(after.step, c.step) << c.what;
        EXPECT_EQ(after.ended, c.ended) << c.what;
        EXPECT_EQ(after.chatCount, c.before.chatCount) << c.what;
        EXPECT_EQ(after.chatReady, c.before.chatReady) << c.what;
    }
}

}  // namespace
}  // namespace folvane
