#include "shell/tour/ChatWindowTour.h"

#include <QEvent>
#include <QWidget>

#include "shell/tour/TourCardView.h"
#include "store/AppPreferences.h"

namespace folvane {

ChatWindowTour::ChatWindowTour(QWidget* window, ChatDetailRef chat, AppPreferences& preferences,
                               Anchors anchors, Actions actions)
    : QObject(window),
      window_(window),
      chat_(std::move(chat)),
      preferences_(preferences),
      anchors_(anchors),
      actions_(std::move(actions)),
      card_(new TourCardView(window)) {
    window->installEventFilter(this);
    connect(card_, &TourCardView::continued, this, &ChatWindowTour::onContinue);
    connect(card_, &TourCardView::ended, this, [this](TourCard card) {
        OnboardingTour::store(preferences_,
                              OnboardingTour::afterEnd(card, OnboardingTour::facts(preferences_)));
    });
    connect(card_, &TourCardView::closed, this, [this](TourCard card) {
        closed_ = card;
        OnboardingTour::store(
            preferences_, OnboardingTour::afterClose(card, OnboardingTour::facts(preferences_)));
    });
    preferencesSubscription_ = preferences.subscribe([this](std::string_view key) {
        if (key == "onboardingTourStep" || key == "onboardingTourEnded" || key == "customModelId" ||
            key == AppPreferences::openAIKeyKey) {
            check();
        }
    });
}

bool ChatWindowTour::eventFilter(QObject* watched, QEvent* event) {
    if (watched == window_ && event->type() == QEvent::Show) {
        closed_ = TourCard::none;
        check();
    }
    return QObject::eventFilter(watched, event);
}

void ChatWindowTour::check() {
    if (!window_->isVisible()) return;
    const TourCard card =
        OnboardingTour::shown(TourView::chatWindow, OnboardingTour::facts(preferences_));
    if (card == card_->card()) return;
    if (card == TourCard::none || card == closed_) {
        card_->withdraw();
        return;
    }
    switch (card) {
        case TourCard::setUp:
            card_->present(card, anchors_.transcript, TourCardView::Side::inside);
            break;
        case TourCard::askQuestion:
            card_->present(card, anchors_.composeBox, TourCardView::Side::above);
            break;
        default:
            card_->present(card, anchors_.settingsButton, TourCardView::Side::below);
            break;
    }
}

void ChatWindowTour::onContinue(TourCard card) {
    const TourFacts before = OnboardingTour::facts(preferences_);
    switch (card) {
        case TourCard::setUp:
            if (actions_.askForKey) actions_.askForKey();
            break;
        case TourCard::askQuestion:
            chat_.trigger(chat_input::AddMessage{std::string(OnboardingTour::sampleQuestion)});
            OnboardingTour::store(preferences_, OnboardingTour::afterContinue(card, before));
            break;
        case TourCard::advancedParameters:
            OnboardingTour::store(preferences_, OnboardingTour::afterClose(card, before));
            if (actions_.openSettings) actions_.openSettings();
            OnboardingTour::store(preferences_, OnboardingTour::afterContinue(card, before));
            break;
        default:
            break;
    }
}

}  // namespace folvane
