#pragma once

#include <QJsonObject>
#include <QObject>
#include <QString>

namespace folvane {

// The object the transcript page reaches over the web channel. Each call of
// the page becomes a signal; a call with a body of the wrong type never gets
// here, since the channel checks the argument types.
class TranscriptBridge final : public QObject {
    Q_OBJECT
  public:
    using QObject::QObject;

    Q_INVOKABLE void ready() {
        isReady_ = true;
        emit pageReady();
    }
    // The heights that changed since the last frame, by row key.
    Q_INVOKABLE void sizesChangeHandler(const QJsonObject& heights);
    Q_INVOKABLE void renderedContentHandler(const QString& key, const QString& base64);
    // The rendered text of a growing row: the first `kept` characters of the
    // text last reported for it, then the decoded `base64`.
    Q_INVOKABLE void renderedContentTailHandler(const QString& key, int kept,
                                                const QString& base64);
    Q_INVOKABLE void copyToClipboardHandler(const QString& text) { emit copyRequested(text); }
    Q_INVOKABLE void action(const QString& name, const QString& key, int index) {
        emit actionRequested(name, key, index);
    }
    Q_INVOKABLE void contextMenu(const QString& key) { emit contextMenuRequested(key); }
    // A frame is painted showing the first `updates` updates the page got;
    // `lastKey` is the last row's.
    Q_INVOKABLE void painted(int updates, const QString& lastKey) {
        emit framePainted(updates, lastKey);
    }

    // Whether the page has said it is ready since it last loaded.
    bool isReady() const { return isReady_; }
    void reset() { isReady_ = false; }

  signals:
    void pageReady();
    void sizeChanged(const QString& key, double height);
    void rendered(const QString& key, const QString& text);
    void renderedTail(const QString& key, int kept, const QString& text);
    void copyRequested(const QString& text);
    void actionRequested(const QString& name, const QString& key, int index);
    void contextMenuRequested(const QString& key);
    void framePainted(int updates, const QString& lastKey);

  private:
    bool isReady_ = false;
};

}  // namespace folvane
