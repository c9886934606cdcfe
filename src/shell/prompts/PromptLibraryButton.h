#pragma once

#include <QToolButton>

class QPlainTextEdit;

namespace folvane {

class PromptListViewModel;
class PromptPickerPopup;

// The button beside the message box that opens the prompt picker, also with
// Ctrl+Shift+P anywhere in its window. The picked prompt fills the box, which
// keeps the focus.
class PromptLibraryButton final : public QToolButton {
    Q_OBJECT
  public:
    PromptLibraryButton(PromptListViewModel& list, QPlainTextEdit* box, QWidget* parent = nullptr);

    static QString helpText();
    PromptPickerPopup* picker() const { return picker_; }
    void openPicker();

  private:
    QPlainTextEdit* box_;
    PromptPickerPopup* picker_;
};

}  // namespace folvane
