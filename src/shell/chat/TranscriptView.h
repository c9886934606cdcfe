#pragma once

#include <QString>
#include <QWidget>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "conversation/ChatListViewModel.h"
#include "runtime/ObserverList.h"

class QWebChannel;
class QWebEngineView;

namespace folvane {

class AppPreferences;
class TranscriptBridge;
class TranscriptPage;
struct Message;

// The messages of one chat: one web page holding every row, redrawn from the
// chat's state. Only the rows that changed go to the page, so that a streamed
// reply costs one parse of the growing message; the page is never reloaded.
class TranscriptView final : public QWidget {
    Q_OBJECT
  public:
    TranscriptView(ChatDetailRef chat, AppPreferences& preferences, QWidget* parent = nullptr);

    // What the page last reported for a row: its height and its rendered text.
    double rowHeight(const QString& key) const;
    QString renderedText(const QString& key) const;
    // How many times the page has loaded its document (once, when all is well).
    int pageLoads() const { return pageLoads_; }
    bool isPageReady() const { return ready_; }
    QWebEngineView* webView() const { return view_; }

  signals:
    void pageReady();
    void rowRendered(const QString& key);

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void schedule();
    void push();
    void pushStyle();
    bool isDark() const;
    void runAction(const QString& name, const QString& key, int index);
    void showContextMenu(const QString& key);
    void copyMessage(const Message& message);
    void editMessage(const Message& message);
    void saveMessage(const Message& message);
    void deleteMessage(const Message& message);

    ChatDetailRef chat_;
    AppPreferences& preferences_;
    QWebEngineView* view_;
    TranscriptPage* page_;
    TranscriptBridge* bridge_;
    QWebChannel* channel_;
    bool ready_ = false;
    bool scheduled_ = false;
    int pageLoads_ = 0;
    // The rows as the page has them, by key, and their order.
    std::map<std::string, nlohmann::ordered_json> sent_;
    std::vector<std::string> sentOrder_;
    std::map<QString, double> heights_;
    std::map<QString, QString> rendered_;
    Subscription subscription_;
    Subscription preferencesSubscription_;
};

}  // namespace folvane
