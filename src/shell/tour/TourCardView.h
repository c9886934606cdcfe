#pragma once

#include <QFrame>
#include <QPointer>
#include <functional>

#include "conversation/OnboardingTour.h"

class QLabel;
class QPushButton;

namespace folvane {

// One card of the tour: a small callout over its window, with a bold title,
// the message, "End tour" and the confirming button ("Continue →"), pointing
// at the control it describes. It is no window of its own and takes no input
// from the rest of the window: it follows its anchor as the window changes
// size, and Tab reaches it from the anchor. Return presses the focused button,
// Escape closes the card.
class TourCardView final : public QFrame {
    Q_OBJECT
  public:
    // Where the card stands: below or above its target with an arrow at it,
    // or inside it (the target is an area, such as the transcript).
    enum class Side { below, above, inside };

    // A rectangle in the anchor's coordinates; empty: the whole anchor.
    using Target = std::function<QRect()>;

    // The card belongs to the window, over every other child of it.
    explicit TourCardView(QWidget* window);

    // Shows the card's words at the anchor; a card shown before is replaced
    // without a signal.
    void present(TourCard card, QWidget* anchor, Side side, Target target = {});
    // Hides the card without a signal: its test no longer holds.
    void withdraw();

    TourCard card() const { return card_; }
    bool isPresented() const { return card_ != TourCard::none; }
    QPushButton* continueButton() const { return continue_; }
    QPushButton* endButton() const { return end_; }

  signals:
    // Each comes after the card has hidden: the confirming button, "End
    // tour", and Escape.
    void continued(TourCard card);
    void ended(TourCard card);
    void closed(TourCard card);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void place();
    // Hides the card and hands its kind to the signal.
    void finish(void (TourCardView::*signal)(TourCard));

    QLabel* title_;
    QLabel* message_;
    QPushButton* end_;
    QPushButton* continue_;
    TourCard card_ = TourCard::none;
    QPointer<QWidget> anchor_;
    Side side_ = Side::below;
    Target target_;
    // Where the arrow stands, set by place().
    bool arrowOnTop_ = true;
    bool hasArrow_ = true;
    int arrowX_ = 0;
};

}  // namespace folvane
