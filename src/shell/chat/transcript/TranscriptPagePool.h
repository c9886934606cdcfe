#pragma once

#include <QObject>
#include <QPointer>

class QWebEngineProfile;

namespace folvane {

class TranscriptPage;

// Transcript pages loaded ahead of need, so that a chat window's transcript
// shows its rows as soon as the window is up instead of waiting for a web
// renderer to start and the page's scripts to load. The pool of a web profile
// is a child of that profile and keeps at most one spare page, made by
// prepare(): a spare is a renderer process of its own (some 80 MB), so none
// is made unasked.
class TranscriptPagePool final : public QObject {
    Q_OBJECT
  public:
    // The pool of the default web profile (made on first use).
    static TranscriptPagePool& forDefaultProfile();

    // Starts loading a spare page now if there is none.
    void prepare();
    // Whether a spare page has loaded and is waiting.
    bool hasReadySpare() const;
    // The spare page, loaded or still loading, given to `parent`; a new page
    // when there is no spare.
    TranscriptPage* take(QObject* parent);

  private:
    explicit TranscriptPagePool(QWebEngineProfile* profile);
    static void dropSpares();

    QWebEngineProfile* profile_;
    QPointer<TranscriptPage> spare_;
};

}  // namespace folvane
