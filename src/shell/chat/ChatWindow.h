#pragma once

#include <QMainWindow>
#include <cstdint>
#include <memory>
#include <optional>

#include "conversation/ChatDetailInput.h"
#include "conversation/ChatListViewModel.h"
#include "runtime/ObserverList.h"

class QDialog;
class QLabel;
class QStackedWidget;

namespace folvane {

class ChatConfigPanel;
class ChatSearchBar;
class ComposeBox;
class CustomModelListViewModel;
class DocumentPane;
class DocumentListView;
class ScreenCapture;
class WindowManager;

// The window of one chat: its title and model, the documents, the transcript
// and compose box, and the viewer beside them. A chat that is not in the list
// shows the failure with "Reload".
class ChatWindow final : public QMainWindow {
    Q_OBJECT
  public:
    ChatWindow(int64_t conversationId, WindowManager& windows, QWidget* parent = nullptr);
    ~ChatWindow() override;

    int64_t conversationId() const { return conversationId_; }
    bool isLoaded() const { return chat_.has_value(); }
    // The chat's label, with the cost when there is one.
    QString subtitle() const;
    ComposeBox* composeBox() const { return compose_; }
    DocumentListView* documentList() const { return documents_; }
    DocumentPane* documentPane() const { return viewer_; }
    ChatSearchBar* chatSearch() const { return search_; }
    // Opens the find field of the scope: the viewer's (shown first when
    // hidden) or the messages'. Nothing while the chat is not loaded.
    void showSearch(SearchScope scope);
    // The chat's settings, made on first use.
    QDialog* configDialog();

    // The toolbar's "Ask about a screenshot": the alert of a chat that cannot
    // ask the vision model, or the screenshot tool, whose picture waits in
    // the compose box for the next message.
    void askAboutScreenshot();
    // The screenshot tool; the desktop's unless a test gives its own.
    void setScreenCapture(std::unique_ptr<ScreenCapture> capture);

    // Sends sync to the chat list and looks for the chat again.
    void reload();

  protected:
    void closeEvent(QCloseEvent* event) override;

  private:
    void build();
    void updateTitle();
    void loadIndexForNewModel();
    void applyAlwaysOnTop();
    void askForKey();

    int64_t conversationId_;
    int64_t customModelId_ = 0;
    WindowManager& windows_;
    std::unique_ptr<ScreenCapture> screenCapture_;
    std::optional<ChatDetailRef> chat_;
    std::unique_ptr<CustomModelListViewModel> customModels_;
    QStackedWidget* pages_;
    QLabel* header_ = nullptr;
    ComposeBox* compose_ = nullptr;
    DocumentListView* documents_ = nullptr;
    DocumentPane* viewer_ = nullptr;
    ChatSearchBar* search_ = nullptr;
    QDialog* config_ = nullptr;
    Subscription subscription_;
    Subscription preferencesSubscription_;
};

}  // namespace folvane
