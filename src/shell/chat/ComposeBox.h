#pragma once

#include <QStringList>
#include <QWidget>
#include <functional>

#include "conversation/ChatListViewModel.h"
#include "runtime/ObserverList.h"

class QCheckBox;
class QHBoxLayout;
class QLabel;
class QPlainTextEdit;
class QToolButton;

namespace folvane {

class AppPreferences;
class AudioDevices;
class PromptLibraryButton;
class Recording;
class PromptListViewModel;

// Where a message begins: the text box under a chat with its send, stop and
// record buttons, the toggle of what Return does, and the row of what the next
// message carries (quoted text or images). The text lives here, not in the
// chat's state, and only a send clears it.
class ComposeBox final : public QWidget {
    Q_OBJECT
  public:
    // Asks for the PDFs to add; empty: cancelled. Tests set it.
    using ChooseDocuments = std::function<QStringList(QWidget* parent)>;
    // Shows a modal critical alert; tests set it.
    using ShowAlert =
        std::function<void(QWidget* parent, const QString& title, const QString& text)>;

    ComposeBox(ChatDetailRef chat, AppPreferences& preferences, QWidget* parent = nullptr);

    QPlainTextEdit* textEdit() const { return text_; }
    QString text() const;
    // What Return does when it may send: send (true) or add a line.
    bool enterToSendMessage() const { return enterToSendMessage_; }
    void setEnterToSendMessage(bool on);
    void setChooseDocuments(ChooseDocuments choose) { chooseDocuments_ = std::move(choose); }
    void setShowAlert(ShowAlert show) { showAlert_ = std::move(show); }
    // The microphone that the record button records from; none: the button
    // says that there is no microphone.
    void setAudioDevices(AudioDevices* devices) { devices_ = devices; }
    QToolButton* recordButton() const { return recordButton_; }
    bool isRecording() const { return recording_ != nullptr; }
    // The record button: starts a dictation, or stops the one running.
    void toggleRecording();
    // Adds the prompt library's button, and its key, beside the box.
    void setPromptLibrary(PromptListViewModel& prompts);
    PromptLibraryButton* promptButton() const { return promptButton_; }

    // Return without Shift or Alt: asks for the key when no model is set up,
    // does nothing while the chat is busy, else sends or adds a line.
    void returnPressed();
    // Sends the text unless it is empty; asks for the key first when the
    // chat's provider is OpenAI and no key is stored.
    void send();

  signals:
    // The OpenAI key is missing: the owner shows its form.
    void apiKeyNeeded();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void render();
    void renderButtons();
    void renderImages(const std::vector<std::string>& urls);
    void addDocuments();

    ChatDetailRef chat_;
    AppPreferences& preferences_;
    bool enterToSendMessage_ = true;
    ChooseDocuments chooseDocuments_;
    ShowAlert showAlert_;
    AudioDevices* devices_ = nullptr;
    // The dictation running now, between the record button's two presses.
    std::shared_ptr<Recording> recording_;
    RecordingState shownRecordingState_ = RecordingState::None;
    QWidget* contextRow_;
    QLabel* contextText_;
    QWidget* imageRow_;
    QHBoxLayout* imageLayout_;
    std::vector<std::string> shownImages_;
    QPlainTextEdit* text_;
    QCheckBox* enterToSend_;
    QToolButton* addDocuments_;
    QHBoxLayout* buttonRow_;
    PromptLibraryButton* promptButton_ = nullptr;
    QToolButton* sendButton_;
    QToolButton* stopButton_;
    QToolButton* recordButton_;
    Subscription subscription_;
};

}  // namespace folvane
