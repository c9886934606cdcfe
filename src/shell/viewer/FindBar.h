#pragma once

#include <QWidget>

class QLineEdit;

namespace folvane {

// The find field above the pages: Return looks for the text (again: the next
// match), Shift+Return for the previous match, Escape closes the bar.
class FindBar final : public QWidget {
    Q_OBJECT
  public:
    explicit FindBar(QWidget* parent = nullptr);

    QLineEdit* field() const { return field_; }
    // Shows the bar with its text selected and the focus in the field.
    void open();

  signals:
    void findRequested(const QString& keyword);
    void previousRequested();
    void closed();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void close();

    QLineEdit* field_;
};

}  // namespace folvane
