#pragma once

#include <QString>
#include <QWidget>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "conversation/ChatListViewModel.h"
#include "runtime/ObserverList.h"

class QWebEngineView;

namespace folvane {

class AppPreferences;
class TranscriptBridge;
class TranscriptPage;
class TranscriptPagePool;
struct Message;

// The messages of one chat: one web page holding every row, redrawn from the
// chat's state. Only the rows that changed go to the page, and a streamed
// reply redraws only its unfinished last blocks; the page is never reloaded.
// The page comes loaded from the pool, when one is given and has a page waiting.
class TranscriptView final : public QWidget {
    Q_OBJECT
  public:
    TranscriptView(ChatDetailRef chat, AppPreferences& preferences, QWidget* parent = nullptr,
                   TranscriptPagePool* pages = nullptr);

    // Shows a modal critical alert; asks where to save a file (empty:
    // cancelled). Tests set them.
    using ShowAlert =
        std::function<void(QWidget* parent, const QString& title, const QString& text)>;
    using ChooseSaveFile = std::function<QString(QWidget* parent, const QString& title,
                                                 const QString& name, const QString& filter)>;
    void setShowAlert(ShowAlert show) { showAlert_ = std::move(show); }
    void setChooseSaveFile(ChooseSaveFile choose) { chooseSaveFile_ = std::move(choose); }
    // A message's own action, as its button or menu entry runs it.
    void runAction(const QString& name, const QString& key, int index);

    // What the page last reported for a row: its height and its rendered text.
    double rowHeight(const QString& key) const;
    QString renderedText(const QString& key) const;
    // How many times the page has loaded its document (once, when all is well).
    int pageLoads() const;
    // Updates sent to the page, and how many of them its last painted frame
    // showed.
    int updatesSent() const { return updatesSent_; }
    int paintedUpdates() const { return paintedUpdates_; }
    bool isPageReady() const { return ready_; }
    QWebEngineView* webView() const { return view_; }

  signals:
    void pageReady();
    void rowRendered(const QString& key);
    // The page painted a frame showing `updates` updates; `lastKey` is the
    // key of its last row.
    void framePainted(int updates, const QString& lastKey);

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void start();
    void schedule();
    void push();
    void pushStyle();
    bool isDark() const;
    void showContextMenu(const QString& key);
    void copyMessage(const Message& message);
    void editMessage(const Message& message);
    void saveMessage(const Message& message);
    void deleteMessage(const Message& message);
    void speak(const Message& message);
    void saveSpeech(const Message& message);

    ChatDetailRef chat_;
    AppPreferences& preferences_;
    ShowAlert showAlert_;
    ChooseSaveFile chooseSaveFile_;
    QWebEngineView* view_;
    TranscriptPage* page_;
    TranscriptBridge* bridge_;
    bool ready_ = false;
    bool scheduled_ = false;
    int updatesSent_ = 0;
    int paintedUpdates_ = 0;
    // The rows as the page has them, by key, and their order.
    std::map<std::string, nlohmann::ordered_json> sent_;
    std::vector<std::string> sentOrder_;
    std::map<QString, double> heights_;
    std::map<QString, QString> rendered_;
    Subscription subscription_;
    Subscription preferencesSubscription_;
};

}  // namespace folvane
