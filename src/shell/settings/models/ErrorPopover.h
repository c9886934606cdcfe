#pragma once

#include <QFrame>

class QLabel;

namespace folvane {

// The small bubble under a form's save button that tells why a check failed.
// It closes on Escape or a click elsewhere; `dismissed` tells that the user
// closed it, not the form.
class ErrorPopover final : public QFrame {
    Q_OBJECT
  public:
    explicit ErrorPopover(QWidget* parent);

    // Shows the message below the anchor and announces it to screen readers.
    void showMessage(const QString& message, QWidget* anchor);
    // Hides it without telling `dismissed`.
    void withdraw();
    QString message() const;

  signals:
    void dismissed();

  protected:
    void hideEvent(QHideEvent* event) override;

  private:
    QLabel* text_;
    bool withdrawing_ = false;
};

}  // namespace folvane
