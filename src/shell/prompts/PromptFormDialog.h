#pragma once

#include <QDialog>
#include <optional>

#include "store/Prompt.h"

class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;

namespace folvane {

class PromptListViewModel;

// "Prompt Details": the form that adds a prompt, or edits one. Adding stores
// the prompt first and stays open with the failure's words when that fails;
// editing sends the change to the list, whose alert tells a failure. Neither
// text is checked.
class PromptFormDialog final : public QDialog {
    Q_OBJECT
  public:
    // The add form.
    explicit PromptFormDialog(PromptListViewModel& list, QWidget* parent = nullptr);
    // The edit form of a prompt.
    PromptFormDialog(PromptListViewModel& list, const Prompt& prompt, QWidget* parent = nullptr);

    QLineEdit* labelField() const { return label_; }
    QPlainTextEdit* contentField() const { return content_; }
    // "Add Prompt", or "Save" in the edit form.
    QPushButton* confirmButton() const { return confirm_; }
    QPushButton* cancelButton() const { return cancel_; }
    // The words of the last failure; empty when there was none.
    QString errorMessage() const;

    // What the confirming button does.
    void confirm();

  private:
    void build(const QString& confirmText);

    PromptListViewModel& list_;
    std::optional<Prompt> editing_;
    QLineEdit* label_;
    QPlainTextEdit* content_;
    QLabel* error_;
    QPushButton* cancel_;
    QPushButton* confirm_;
};

}  // namespace folvane
