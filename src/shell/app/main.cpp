// folvane: the desktop application.

#include <unistd.h>

#include <QApplication>
#include <QMessageBox>

#include "conversation/AppCore.h"
#include "platform/AppPaths.h"
#include "shell/app/QtMainQueue.h"
#include "shell/app/WindowManager.h"
#include "store/FatalError.h"

int main(int argc, char** argv) {
    // Chromium's sandbox refuses to start as root; the transcript's page runs
    // no script of the model's, so the renderer goes without it there.
    if (geteuid() == 0) qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Folvane"));
    QApplication::setDesktopFileName(QStringLiteral("co.tessavel.Folvane"));
    // Closing the last window leaves the application running; it ends by Quit.
    QApplication::setQuitOnLastWindowClosed(false);

    folvane::QtMainQueue mainQueue;
    folvane::AppCore core(folvane::AppPaths::standard(), mainQueue);
    try {
        core.preferences();
        core.service();
        core.chatList();
    } catch (const folvane::FatalError& error) {
        QMessageBox::critical(nullptr, QStringLiteral("Folvane"), QString::fromUtf8(error.what()));
        return 1;
    }

    folvane::WindowManager windows(core);
    windows.showWelcome();
    return QApplication::exec();
}
