#pragma once

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

    Q_INVOKABLE void ready() { emit pageReady(); }
    Q_INVOKABLE void sizeChangeHandler(const QString& key, double height) {
        emit sizeChanged(key, height);
    }
    Q_INVOKABLE void renderedContentHandler(const QString& key, const QString& base64);
    Q_INVOKABLE void copyToClipboardHandler(const QString& text) { emit copyRequested(text); }
    Q_INVOKABLE void action(const QString& name, const QString& key, int index) {
        emit actionRequested(name, key, index);
    }
    Q_INVOKABLE void contextMenu(const QString& key) { emit contextMenuRequested(key); }

  signals:
    void pageReady();
    void sizeChanged(const QString& key, double height);
    void rendered(const QString& key, const QString& text);
    void copyRequested(const QString& text);
    void actionRequested(const QString& name, const QString& key, int index);
    void contextMenuRequested(const QString& key);
};

}  // namespace folvane
