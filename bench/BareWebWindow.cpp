// The baseline of the start and memory benchmarks: a bare Qt window with one
// web view painting an empty page. Prints "painted" once the page's first
// frame is drawn, then quits, or with --hold stays until it is killed.
#include <QApplication>
#include <QWebEnginePage>
#include <QWebEngineView>
#include <cstdio>

int main(int argc, char** argv) {
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    const bool hold = app.arguments().contains(QStringLiteral("--hold"));
    QWebEngineView view;
    QObject::connect(view.page(), &QWebEnginePage::titleChanged, [hold](const QString& title) {
        if (title != QLatin1String("painted")) return;
        std::printf("painted\n");
        std::fflush(stdout);
        if (!hold) QCoreApplication::quit();
    });
    view.resize(900, 700);
    view.show();
    // The title changes after the frame that follows the page's load.
    view.setHtml(QStringLiteral(
        "<!DOCTYPE html><html><body><script>requestAnimationFrame(() => setTimeout(() => "
        "{ document.title = 'painted'; }, 0));</script></body></html>"));
    return QApplication::exec();
}
