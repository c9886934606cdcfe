#pragma once

#include <QPointer>

namespace folvane {

class TranscriptPage;

// Transcript pages loaded ahead of need, so that a chat window's transcript
// shows its rows as soon as the window is up instead of waiting for a web
// renderer to start and the page's scripts to load. Keeps at most one spare
// page, made by prepare(): a spare is a renderer process of its own (some
// 80 MB), so none is made unasked and none is made again once taken.
//
// `main` makes the application's pool and hands it down; it must go before
// the application object, which shuts the web engine down.
class TranscriptPagePool final {
  public:
    TranscriptPagePool() = default;
    ~TranscriptPagePool();
    TranscriptPagePool(const TranscriptPagePool&) = delete;
    TranscriptPagePool& operator=(const TranscriptPagePool&) = delete;

    // Starts loading a spare page now if there is none.
    void prepare();
    // Whether a spare page has loaded and is waiting.
    bool hasReadySpare() const;
    // The spare page, loaded or still loading, given to `parent`; a new page
    // when there is no spare.
    TranscriptPage* take(QObject* parent);

  private:
    QPointer<TranscriptPage> spare_;
};

}  // namespace folvane
