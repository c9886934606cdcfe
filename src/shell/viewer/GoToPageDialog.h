#pragma once

#include <QDialog>
#include <optional>

class QLineEdit;
class QPushButton;

namespace folvane {

// "Go to page:" with a field, "Cancel" and "OK" (Ctrl+Return). OK with a
// whole number in the field reports it; any other text reports nothing.
class GoToPageDialog final : public QDialog {
    Q_OBJECT
  public:
    explicit GoToPageDialog(QWidget* parent = nullptr);

    QLineEdit* field() const { return field_; }
    // The number in the field, when it is a whole number.
    std::optional<int> page() const;

  signals:
    void pageChosen(int page);

  protected:
    void keyPressEvent(QKeyEvent* event) override;

  private:
    QLineEdit* field_;
    QPushButton* ok_;
};

}  // namespace folvane
