#pragma once

#include <QObject>

#include "conversation/OnboardingTour.h"
#include "runtime/ObserverList.h"

class QListWidget;
class QPushButton;
class QWidget;

namespace folvane {

class TourCardView;
class WindowManager;

// The tour's two cards in the start window: the welcome at the list of chats
// (tested one second after the window appears) and the last card at "Start a
// new chat..." (tested as it appears). A card goes away when its test stops
// holding.
class StartWindowTour final : public QObject {
    Q_OBJECT
  public:
    StartWindowTour(QWidget* window, QListWidget* chats, QPushButton* newChat,
                    WindowManager& windows);

    // A chat of the list is being opened: while the welcome card's test
    // holds, the tour moves on to setting up.
    void chatOpening();

    TourCardView* card() const { return card_; }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    TourFacts facts() const;
    // Shows `card` when its test holds and no card is shown.
    void check(TourCard card);
    // Withdraws the card shown when its test no longer holds.
    void recheck();
    void onContinue(TourCard card);

    QWidget* window_;
    QListWidget* chats_;
    QPushButton* newChat_;
    WindowManager& windows_;
    TourCardView* card_;
    Subscription preferencesSubscription_;
    Subscription listSubscription_;
};

}  // namespace folvane
