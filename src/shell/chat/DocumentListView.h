#pragma once

#include <QElapsedTimer>
#include <QWidget>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "conversation/ChatListViewModel.h"
#include "runtime/ObserverList.h"

class QLabel;
class QProgressBar;
class QVBoxLayout;

namespace folvane {

// The documents of a chat, as a side panel: each with its state (indexing with
// its progress and speed, failed with the reason, moved or deleted with
// "Locate..."), and the actions to reprocess a document, with or without
// forced OCR, to embed it again with the downloaded local model, or to take it
// out of the chat. The actions are the row's context menu and the menu of its
// "..." button.
class DocumentListView final : public QWidget {
    Q_OBJECT
  public:
    // Asks for the new place of a moved document; empty: cancelled. Tests set it.
    using LocateFile = std::function<QString(QWidget* parent, const QString& oldPath)>;

    explicit DocumentListView(ChatDetailRef chat, QWidget* parent = nullptr);

    void setLocateFile(LocateFile locate) { locateFile_ = std::move(locate); }
    // Whether the local model's weights are on disk now; asked each time a
    // document's menu opens, so that a download made in the settings while
    // the chat is open shows at once. By default the data folder's models/.
    using LocalModelCheck = std::function<bool()>;
    void setLocalModelCheck(LocalModelCheck check) { localModelCheck_ = std::move(check); }

  signals:
    // A click on a document's row: the viewer shows that document.
    void documentChosen(int64_t bookmarkId);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    // What the rows are made of; they are made again only when it changes, and
    // the progress of an indexing row is updated in place.
    struct Snapshot {
        std::vector<DocumentInfo> documents;
        int64_t mainBookmarkId = 0;
        bool localModelInstalled = false;
        bool operator==(const Snapshot&) const = default;
    };

    void render();
    QWidget* makeRow(const DocumentInfo& document, const Snapshot& snapshot);
    void showProgress(const ChatDetailState& state);
    QString indexingRate(const ChatDetailState& state);
    void locate(const DocumentInfo& document);

    ChatDetailRef chat_;
    QVBoxLayout* rows_;
    // The indexing rows' bar and line, updated in place.
    std::vector<std::pair<QProgressBar*, QLabel*>> progressRows_;
    std::optional<Snapshot> shown_;
    QElapsedTimer indexingClock_;
    int progressAtStart_ = 0;
    int pagesAtStart_ = 0;
    LocateFile locateFile_;
    LocalModelCheck localModelCheck_;
    Subscription subscription_;
};

}  // namespace folvane
