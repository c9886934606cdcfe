#pragma once

#include <QWebEnginePage>

namespace folvane {

// The transcript's web page. It loads its own document once and never
// navigates away: a followed link opens in the default browser (a file link
// does nothing), and the page opens no windows.
class TranscriptPage final : public QWebEnginePage {
    Q_OBJECT
  public:
    explicit TranscriptPage(QObject* parent = nullptr);

    // The address of the transcript's own document.
    static QUrl documentUrl();

  protected:
    bool acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) override;
    QWebEnginePage* createWindow(WebWindowType type) override;
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level, const QString& message,
                                  int line, const QString& source) override;
};

}  // namespace folvane
