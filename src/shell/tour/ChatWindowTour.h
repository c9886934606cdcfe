#pragma once

#include <QObject>
#include <functional>

#include "conversation/ChatListViewModel.h"
#include "conversation/OnboardingTour.h"
#include "runtime/ObserverList.h"

class QWidget;

namespace folvane {

class AppPreferences;
class TourCardView;

// The tour's three cards in a chat window: setting up in the transcript,
// the sample question at the message box, the advanced parameters at "Chat
// Settings". They are tested when the window appears and whenever the step,
// the end, the key or the default model changes.
class ChatWindowTour final : public QObject {
    Q_OBJECT
  public:
    struct Anchors {
        QWidget* transcript = nullptr;
        QWidget* composeBox = nullptr;
        QWidget* settingsButton = nullptr;
    };
    struct Actions {
        std::function<void()> askForKey;
        std::function<void()> openSettings;
    };

    ChatWindowTour(QWidget* window, ChatDetailRef chat, AppPreferences& preferences,
                   Anchors anchors, Actions actions);

    TourCardView* card() const { return card_; }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void check();
    void onContinue(TourCard card);

    QWidget* window_;
    ChatDetailRef chat_;
    AppPreferences& preferences_;
    Anchors anchors_;
    Actions actions_;
    TourCardView* card_;
    // A card closed with Escape stays closed until the window appears again.
    TourCard closed_ = TourCard::none;
    Subscription preferencesSubscription_;
};

}  // namespace folvane
