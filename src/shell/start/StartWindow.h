#pragma once

#include <QList>
#include <QMainWindow>
#include <QUrl>
#include <cstdint>
#include <map>
#include <tuple>
#include <vector>

#include "runtime/ObserverList.h"

class QLabel;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QPushButton;

namespace folvane {

class ChatRowDelegate;
class StartWindowTour;
class WindowManager;

// "Welcome to Folvane": the list of chats, newest first, each row with its
// title and a line of its documents, messages and model. The list can be
// filtered, a title renamed in place (F2), a chat opened (double-click or
// Return), shown in the file manager or deleted (row menu, Delete key). New
// chats come from "Start a new chat..." and from PDFs dropped on the window;
// "Settings" opens the settings.
class StartWindow final : public QMainWindow {
    Q_OBJECT
  public:
    explicit StartWindow(WindowManager& windows, QWidget* parent = nullptr);
    ~StartWindow() override;

    // Asks "Are you sure you want to delete this conversation?" and removes
    // the chat when the answer is "Delete".
    void confirmDelete(int64_t conversationId);

    // What a drop on the window does with its URLs: the PDF files among them
    // make one chat; anything else is skipped.
    void dropUrls(const QList<QUrl>& urls);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    struct Row {
        int64_t id;
        QString title;
        QString detail;
        bool operator==(const Row&) const = default;
    };

    void scheduleRender();
    void render();
    void subscribeToChats();
    void openItem(QListWidgetItem* item);
    void renameItem(QListWidgetItem* item);
    void showRowMenu(const QPoint& position);
    void startNewChat();
    int64_t currentId() const;

    WindowManager& windows_;
    QLineEdit* filter_;
    QPushButton* newChat_;
    QPushButton* settings_;
    QListWidget* list_;
    ChatRowDelegate* delegate_;
    QLabel* opening_;
    StartWindowTour* tour_;
    std::vector<Row> shown_;
    bool renderPending_ = false;
    bool rendering_ = false;
    Subscription listSubscription_;
    std::map<int64_t, Subscription> chatSubscriptions_;
};

}  // namespace folvane
