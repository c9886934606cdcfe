// folvane: the desktop application.

#include <unistd.h>

#include <QApplication>
#include <QFileInfo>
#include <QIcon>
#include <QMessageBox>
#include <QTimer>
#include <QUrl>
#include <cstdio>
#include <string_view>
#include <thread>

#include "conversation/AppCore.h"
#include "conversation/CustomModelListViewModel.h"
#include "platform/AppPaths.h"
#include "platform/FrontmostWindow.h"
#include "platform/Log.h"
#include "providers/OpenRouterCatalogue.h"
#include "shell/app/AfterFirstPaint.h"
#include "shell/app/ColorSchemePalette.h"
#include "shell/app/FirstPaintExit.h"
#include "shell/app/QtMainQueue.h"
#include "shell/app/SingleInstance.h"
#include "shell/app/WindowManager.h"
#include "shell/chat/transcript/TranscriptPagePool.h"
#include "shell/speech/QtAudioDevices.h"
#include "shell/speech/QtSpeechSynthesizer.h"
#include "shell/start/StartWindow.h"
#include "speech/SpeechServices.h"
#include "store/AppPreferences.h"
#include "store/FatalError.h"

namespace {

// The files to open, as absolute paths; URLs other than file URLs are left
// out. "--welcome" asks for the start window, which every launch shows anyway;
// "--activate" (the global shortcut's command) is read by main.
QStringList readArguments(const QStringList& arguments) {
    QStringList files;
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        if (argument == QLatin1String("--welcome") || argument == QLatin1String("--activate")) {
            continue;
        } else if (argument.startsWith(QLatin1String("--"))) {
            std::fprintf(stderr, "Unknown option: %s\n", qPrintable(argument));
        } else if (argument.contains(QLatin1String("://"))) {
            const QUrl url(argument);
            if (url.isLocalFile()) files << QFileInfo(url.toLocalFile()).absoluteFilePath();
        } else {
            files << QFileInfo(argument).absoluteFilePath();
        }
    }
    return files;
}

// Fetches the OpenRouter model list away from the main thread and stores it
// there; a failure is only printed.
std::jthread fetchOpenRouterCatalogue(folvane::AppCore& core) {
    return std::jthread([&core, http = core.http()](std::stop_token stop) {
        try {
            auto models = folvane::OpenRouterCatalogue::fetch(
                *http, folvane::OpenRouterCatalogue::defaultBase, stop);
            core.mainQueue().post([&core, models = std::move(models)] {
                core.preferences().setOpenRouterModels(models);
            });
        } catch (const std::exception& error) {
            if (!stop.stop_requested()) folvane::log(error.what());
        }
    });
}

constexpr const char* usage =
    "Usage: folvane [FILE.pdf...] [--welcome] [--activate]\n"
    "  FILE.pdf...  open the files as a new chat (in the running Folvane, if any)\n"
    "  --welcome    show the start window\n"
    "  --activate   open the PDF of the browser's tab in front, as the global shortcut does\n"
    "  --version    print the version\n";

}  // namespace

int main(int argc, char** argv) {
    // Answered before the window system is touched: these work without a display.
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--version") {
            std::printf("folvane %s\n", FOLVANE_VERSION);
            return 0;
        }
        if (argument == "--help" || argument == "-h") {
            std::fputs(usage, stdout);
            return 0;
        }
    }
    // Chromium's sandbox refuses to start as root; the transcript's page runs
    // no script of the model's, so the renderer goes without it there.
    if (geteuid() == 0) qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    // QtWebEngine keeps its pages out of the accessibility tree on Linux unless
    // asked; with this, a screen reader reaches the transcript's rows and
    // buttons whenever the desktop's accessibility bus is on.
    if (!qEnvironmentVariableIsSet("QTWEBENGINE_ENABLE_LINUX_ACCESSIBILITY"))
        qputenv("QTWEBENGINE_ENABLE_LINUX_ACCESSIBILITY", "1");
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Folvane"));
    QApplication::setApplicationVersion(QStringLiteral(FOLVANE_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("co.tessavel.Folvane"));
    // Closing the last window leaves the application running; it ends by Quit.
    QApplication::setQuitOnLastWindowClosed(false);

    const QStringList files = readArguments(QApplication::arguments());
    folvane::SingleInstance instance(folvane::SingleInstance::defaultSocketPath());
    const bool activate = QApplication::arguments().contains(QStringLiteral("--activate"));
    if (activate ? instance.handOverActivation() : instance.handOver(files)) return 0;
    // The browser's window, read before any window of ours comes to the front.
    const auto frontmost = activate ? folvane::FrontmostWindow::read() : std::nullopt;

    // The microphone, the speakers and the on-device voice; before the core,
    // whose chats use them until they go. The recogniser and the sounds'
    // folder are the core's defaults (pocketsphinx, <resources>/sounds).
    folvane::QtAudioDevices audioDevices;
    folvane::SpeechServices speech;
    speech.devices = &audioDevices;
    speech.makeSynthesizer = [] { return std::make_unique<folvane::QtSpeechSynthesizer>(); };
    folvane::QtMainQueue mainQueue;
    folvane::AppCore core(folvane::AppPaths::standard(), mainQueue);
    core.setSpeech(&speech);
    // The icon theme has it once installed; from the build tree, the drawn
    // icon beside the resources.
    const QString builtIcon =
        QString::fromStdString(core.paths().resourceDirectory) +
        QStringLiteral("/../icons/hicolor/256x256/apps/co.tessavel.Folvane.png");
    QApplication::setWindowIcon(
        QIcon::fromTheme(QStringLiteral("co.tessavel.Folvane"), QIcon(builtIcon)));
    std::unique_ptr<folvane::CustomModelListViewModel> customModels;
    try {
        core.preferences();
        core.service();
        core.chatList();
        customModels = core.makeCustomModelList();
    } catch (const folvane::FatalError& error) {
        QMessageBox::critical(nullptr, QStringLiteral("Folvane"), QString::fromUtf8(error.what()));
        return 1;
    }

    const folvane::ColorSchemePalette palette(core.preferences());
    // Before the windows and after the application object: its pages must go
    // before the web engine shuts down.
    folvane::TranscriptPagePool transcriptPages;
    folvane::WindowManager windows(core, transcriptPages);
    if (!instance.listen()) {
        folvane::log("Another launch of Folvane cannot reach this one: its socket cannot be made.");
    }
    QObject::connect(&instance, &folvane::SingleInstance::welcomeRequested, &windows,
                     &folvane::WindowManager::showWelcome);
    QObject::connect(&instance, &folvane::SingleInstance::filesRequested, &windows,
                     [&windows](const QStringList& paths) { windows.openFiles(paths); });
    QObject::connect(&instance, &folvane::SingleInstance::activationRequested, &windows,
                     [&windows] { windows.openBrowserTab(folvane::FrontmostWindow::read()); });

    windows.showWelcome();
    // The web engine starts and a transcript page loads once the start window
    // is up, so that the first chat window opens with its rows at once.
    new folvane::AfterFirstPaint(windows.startWindow(),
                                 [&transcriptPages] { transcriptPages.prepare(); });
    if (folvane::FirstPaintExit::isRequested()) new folvane::FirstPaintExit(windows.startWindow());
    const std::jthread catalogue = fetchOpenRouterCatalogue(core);
    if (!files.isEmpty()) {
        QTimer::singleShot(0, &windows, [&windows, files] { windows.openFiles(files); });
    }
    if (activate) {
        QTimer::singleShot(0, &windows,
                           [&windows, frontmost] { windows.openBrowserTab(frontmost); });
    }
    return QApplication::exec();
}
