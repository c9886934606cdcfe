#pragma once

#include <QElapsedTimer>
#include <QWidget>
#include <functional>
#include <optional>

#include "conversation/ChatListViewModel.h"
#include "runtime/ObserverList.h"

class QVBoxLayout;

namespace folvane {

// The documents of a chat, as a side panel: each with its state (indexing with
// its progress and speed, failed with the reason, moved or deleted with
// "Locate..."), and the actions to reprocess a document, with or without
// forced OCR, or to take it out of the chat.
class DocumentListView final : public QWidget {
    Q_OBJECT
  public:
    // Asks for the new place of a moved document; empty: cancelled. Tests set it.
    using LocateFile = std::function<QString(QWidget* parent, const QString& oldPath)>;

    explicit DocumentListView(ChatDetailRef chat, QWidget* parent = nullptr);

    void setLocateFile(LocateFile locate) { locateFile_ = std::move(locate); }

  private:
    // What a row shows; the rows are rebuilt only when it changes.
    struct Snapshot {
        std::vector<DocumentInfo> documents;
        int progress = 0;
        int64_t mainBookmarkId = 0;
        QString rate;
        bool operator==(const Snapshot&) const = default;
    };

    void render();
    QWidget* makeRow(const DocumentInfo& document, const Snapshot& snapshot);
    QString indexingRate(const ChatDetailState& state);
    void locate(const DocumentInfo& document);

    ChatDetailRef chat_;
    QVBoxLayout* rows_;
    std::optional<Snapshot> shown_;
    QElapsedTimer indexingClock_;
    int progressAtStart_ = 0;
    LocateFile locateFile_;
    Subscription subscription_;
};

}  // namespace folvane
