#pragma once

#include <QDialog>
#include <QPointer>
#include <memory>

#include "conversation/ProviderFormViewModel.h"
#include "runtime/ObserverList.h"

class QLabel;
class QLineEdit;
class QMessageBox;
class QProgressBar;
class QPushButton;

namespace folvane {

// The small form that asks for the OpenAI key when a chat cannot answer
// without one. "Save API Key" checks the key with OpenAI first; the dialog
// closes (accepted) once the check has passed and the key is stored.
class OpenAIKeyModalView final : public QDialog {
    Q_OBJECT
  public:
    using Model = ViewModel<ProviderFormState, ProviderFormInput>;

    explicit OpenAIKeyModalView(std::unique_ptr<Model> viewModel, QWidget* parent = nullptr);
    ~OpenAIKeyModalView() override;

    QLineEdit* keyField() const { return key_; }
    QPushButton* saveButton() const { return save_; }
    QPushButton* cancelButton() const { return cancel_; }
    // "ERROR: " and the check's failure; hidden while there is none.
    QLabel* errorLabel() const { return error_; }
    QProgressBar* busyIndicator() const { return busy_; }
    QMessageBox* quotaAlert() const { return quotaAlert_; }

  private:
    void render();

    std::unique_ptr<Model> viewModel_;
    QLineEdit* key_;
    QLabel* error_;
    QProgressBar* busy_;
    QPushButton* cancel_;
    QPushButton* save_;
    QPointer<QMessageBox> quotaAlert_;
    Subscription subscription_;
};

}  // namespace folvane
