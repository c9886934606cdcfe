#pragma once

#include <QDialog>

class QLineEdit;
class QPushButton;

namespace folvane {

class AppPreferences;

// The small form that asks for the OpenAI key when a chat cannot answer
// without one. The key goes to the settings object, which keeps it in the
// desktop's secret store.
class OpenAIKeySheet final : public QDialog {
    Q_OBJECT
  public:
    explicit OpenAIKeySheet(AppPreferences& preferences, QWidget* parent = nullptr);

    QLineEdit* keyField() const { return key_; }
    QPushButton* saveButton() const { return save_; }

  private:
    void saveKey();

    AppPreferences& preferences_;
    QLineEdit* key_;
    QPushButton* save_;
};

}  // namespace folvane
