#pragma once

#include <QDialog>

class QPlainTextEdit;

namespace folvane {

// A small editor for the text of one message.
class MessageEditDialog final : public QDialog {
    Q_OBJECT
  public:
    MessageEditDialog(const QString& text, QWidget* parent = nullptr);
    QString text() const;

  private:
    QPlainTextEdit* editor_;
};

}  // namespace folvane
