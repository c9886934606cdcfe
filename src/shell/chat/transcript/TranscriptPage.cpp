#include "shell/chat/transcript/TranscriptPage.h"

#include <QDesktopServices>
#include <QWebChannel>
#include <QWebEngineSettings>
#include <iostream>

#include "shell/chat/transcript/TranscriptBridge.h"

namespace folvane {

TranscriptPage::TranscriptPage(QObject* parent)
    : QWebEnginePage(parent), bridge_(new TranscriptBridge(this)), channel_(new QWebChannel(this)) {
    auto* s = settings();
    s->setAttribute(QWebEngineSettings::LocalContentCanAccessRemoteUrls, false);
    s->setAttribute(QWebEngineSettings::JavascriptCanOpenWindows, false);
    s->setAttribute(QWebEngineSettings::JavascriptCanAccessClipboard, false);
    s->setAttribute(QWebEngineSettings::PluginsEnabled, false);
    s->setAttribute(QWebEngineSettings::PdfViewerEnabled, false);
    s->setAttribute(QWebEngineSettings::FocusOnNavigationEnabled, false);
    channel_->registerObject(QStringLiteral("bridge"), bridge_);
    setWebChannel(channel_);
    connect(this, &QWebEnginePage::loadStarted, this, [this] {
        ++loads_;
        bridge_->reset();
    });
    load(documentUrl());
}

QUrl TranscriptPage::documentUrl() {
    return QUrl(QStringLiteral("qrc:/web/transcript.html"));
}

bool TranscriptPage::acceptNavigationRequest(const QUrl& url, NavigationType type,
                                             bool isMainFrame) {
    if (type == NavigationTypeLinkClicked) {
        const auto scheme = url.scheme().toLower();
        if (scheme == "http" || scheme == "https" || scheme == "mailto")
            QDesktopServices::openUrl(url);
        return false;
    }
    // Only the page's own document loads, and it is never reloaded.
    return isMainFrame && type != NavigationTypeReload && url == documentUrl();
}

QWebEnginePage* TranscriptPage::createWindow(WebWindowType) {
    return nullptr;
}

void TranscriptPage::javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level,
                                              const QString& message, int line,
                                              const QString& source) {
    if (level == ErrorMessageLevel)
        std::cout << "Transcript page: " << source.toStdString() << ":" << line << ": "
                  << message.toStdString() << std::endl;
}

}  // namespace folvane
