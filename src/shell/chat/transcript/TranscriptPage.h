#pragma once

#include <QWebEnginePage>

class QWebChannel;

namespace folvane {

class TranscriptBridge;

// The transcript's web page with the bridge it talks to. It loads its own
// document once, when made, and never navigates away: a followed link opens
// in the default browser (a file link does nothing), and the page opens no
// windows.
class TranscriptPage final : public QWebEnginePage {
    Q_OBJECT
  public:
    explicit TranscriptPage(QObject* parent = nullptr);

    // The address of the transcript's own document.
    static QUrl documentUrl();

    TranscriptBridge* bridge() const { return bridge_; }
    // How many times the document has started loading.
    int loads() const { return loads_; }

  protected:
    bool acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) override;
    QWebEnginePage* createWindow(WebWindowType type) override;
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level, const QString& message,
                                  int line, const QString& source) override;

  private:
    TranscriptBridge* bridge_;
    QWebChannel* channel_;
    int loads_ = 0;
};

}  // namespace folvane
