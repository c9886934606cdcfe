#include <QApplication>
#include <QDir>
#include <QFile>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QProcess>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QtTest>
#include <filesystem>
#include <functional>

#include "chat/AppChatService.h"
#include "conversation/ChatListViewModel.h"
#include "platform/FileUrl.h"
#include "platform/ScreenCapture.h"
#include "shell/capture/DesktopScreenCapture.h"
#include "shell/capture/SelectionOverlay.h"
#include "shell/chat/ChatWindow.h"
#include "shell/chat/ComposeBox.h"
#include "store/AppPreferences.h"
#include "support/ShellTestCore.h"

using namespace folvane;

namespace {

// Stands in for the desktop's tool where no X server runs: each capture
// writes the next of its pictures as JPEG, or none when cancelled.
class ScriptedCapture final : public ScreenCapture {
  public:
    bool captureScreenshot(const std::filesystem::path& file) override {
        files.push_back(file);
        if (cancel) return false;
        QImage picture(320 + 40 * int(files.size()), 200, QImage::Format_RGB32);
        picture.fill(files.size() % 2 ? QColor(200, 60, 40) : QColor(40, 90, 200));
        return picture.save(QString::fromStdString(file.string()), "JPG");
    }
    std::vector<std::filesystem::path> files;
    bool cancel = false;
};

QString screenshotFolder() {
    const QString folder = QCoreApplication::applicationDirPath() + "/../screenshots";
    QDir().mkpath(folder);
    return folder;
}

bool isJpeg(const std::filesystem::path& file) {
    QFile f(QString::fromStdString(file.string()));
    if (!f.open(QIODevice::ReadOnly)) return false;
    const QByteArray head = f.read(2);
    return head.size() == 2 && uchar(head[0]) == 0xFF && uchar(head[1]) == 0xD8;
}

bool onX11() {
    return QGuiApplication::platformName() == QStringLiteral("xcb");
}

// Runs xdotool to its end: its pointer and key events queue at the X server
// and reach the overlay when the event loop next runs.
void xdotool(const QStringList& arguments) {
    QProcess process;
    process.start(QStringLiteral("xdotool"), arguments);
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.exitCode(), 0);
}

// Calls `act` once an overlay is up and has the keyboard; the caller then
// starts the capture, which waits for the user.
void whenOverlayShows(std::function<void(SelectionOverlay*)> act) {
    auto* timer = new QTimer;
    timer->setInterval(50);
    QObject::connect(timer, &QTimer::timeout, [timer, act] {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            auto* overlay = qobject_cast<SelectionOverlay*>(window);
            if (!overlay || !overlay->isVisible() || !overlay->isActiveWindow()) continue;
            timer->stop();
            timer->deleteLater();
            act(overlay);
            return;
        }
    });
    timer->start();
}

// The drag from (100, 120) to (300, 270), stopping with the button down for
// a picture of the overlay in the middle of it.
void dragAndLook(SelectionOverlay* overlay, const QString& picture) {
    xdotool({"mousemove", "100", "120", "mousedown", "1", "mousemove", "200", "200", "mousemove",
             "300", "270"});
    QTRY_COMPARE(overlay->selection(), QRect(100, 120, 200, 150));
    if (!picture.isEmpty()) {
        QVERIFY(overlay->grab().save(screenshotFolder() + "/" + picture));
        QProcess::execute(QStringLiteral("import"),
                          {"-window", "root", screenshotFolder() + "/screen-" + picture});
    }
    xdotool({"mouseup", "1"});
}

// Shows the window and gives it the keyboard, as the user's click would; the
// window manager may hold a new window back from taking it by itself.
void showActive(QWidget& window) {
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    window.raise();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window, 10000));
}

QToolButton* screenshotButton(ChatWindow& window) {
    for (auto* toolbar : window.findChildren<QToolBar*>())
        for (auto* action : toolbar->actions())
            if (action->objectName() == QStringLiteral("askAboutScreenshot"))
                return qobject_cast<QToolButton*>(toolbar->widgetForAction(action));
    return nullptr;
}

}  // namespace

class ScreenCaptureTest : public QObject {
    Q_OBJECT
  private slots:
    void aChatOnAnotherProviderIsRefusedWithTheAlertAndNothingIsCaptured() {
        test::ShellTestCore shell;
        shell.core.chatList().trigger(chat_list_input::Sync{});
        auto chat = shell.core.chatList().state().chats.front();
        CustomModel custom;
        custom.provider = "Azure OpenAI";
        custom.name = "Azure";
        custom.apiEndpoint = "https://example.invalid";
        custom.modelId = "gpt-4";
        custom.contextLength = 8000;
        const int64_t customId = shell.core.service().insertCustomModel(custom);
        ChatWindow window(chat.id(), shell.windows);
        auto capture = std::make_unique<ScriptedCapture>();
        auto* captured = capture.get();
        window.setScreenCapture(std::move(capture));
        window.show();
        (*shell.core.chatList().find(chat.id())).trigger(chat_input::UpdateCustomModel{customId});

        auto* button = screenshotButton(window);
        QVERIFY(button);
        QCOMPARE(button->accessibleName(), QStringLiteral("Ask about a screenshot"));
        QVERIFY(button->focusPolicy() & Qt::TabFocus);
        button->click();
        auto* alert = window.findChild<QMessageBox*>();
        QVERIFY(alert);
        QVERIFY(alert->isVisible());
        QCOMPARE(alert->icon(), QMessageBox::Critical);
        const bool noKey = shell.core.preferences().openAIKey().empty();
        QCOMPARE(alert->windowTitle(), noKey ? QStringLiteral("OpenAI API Key Required")
                                             : QStringLiteral("OpenAI Required"));
        QVERIFY(alert->text().startsWith(QStringLiteral("This feature requires GPT 4 Vision.")));
        QVERIFY(captured->files.empty());
        alert->accept();
    }

    void twoCapturesWaitInOrderAndRemovingTheLastRestoresAll() {
        test::ShellTestCore shell;
        shell.core.chatList().trigger(chat_list_input::Sync{});
        const int64_t id = shell.core.chatList().state().chats.front().id();
        auto chat = *shell.core.chatList().find(id);
        ChatWindow window(id, shell.windows);
        auto capture = std::make_unique<ScriptedCapture>();
        auto* captured = capture.get();
        window.setScreenCapture(std::move(capture));
        showActive(window);

        captured->cancel = true;
        QTest::keyClick(&window, Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(captured->files.size(), size_t(1));
        QVERIFY(chat.state().imageURLs.empty());
        QCOMPARE(chat.state().contextMode, ChatContextMode::all);

        captured->cancel = false;
        screenshotButton(window)->click();
        QTest::qWait(1100);  // the next file is named by the next second
        QTest::keyClick(&window, Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(captured->files.size(), size_t(3));
        for (const auto& file : captured->files) {
            QCOMPARE(QString::fromStdString(file.parent_path().string()),
                     QString::fromStdString(shell.core.paths().dataDirectory));
            QVERIFY(file.filename().string().starts_with("Folvane_-"));
            QCOMPARE(QString::fromStdString(file.extension().string()), QStringLiteral(".png"));
        }
        const std::vector<std::string> expected{fileUrlFromPath(captured->files[1].string()),
                                                fileUrlFromPath(captured->files[2].string())};
        QCOMPARE(chat.state().imageURLs, expected);
        QCOMPARE(chat.state().contextMode, ChatContextMode::images);
        QCOMPARE(QApplication::focusWidget(), window.composeBox()->textEdit());

        const QString first = QString::fromStdString(captured->files[1].filename().string());
        const QString second = QString::fromStdString(captured->files[2].filename().string());
        auto removeButton = [&](const QString& name) -> QToolButton* {
            for (auto* button : window.composeBox()->findChildren<QToolButton*>())
                if (button->isVisible() && button->accessibleName() == "Remove " + name)
                    return button;
            return nullptr;
        };
        // The compose box draws the pictures at its next update.
        QTRY_VERIFY(removeButton(first) && removeButton(second));
        const auto left = [&](const QString& name) {
            return removeButton(name)->mapTo(window.composeBox(), QPoint()).x();
        };
        QVERIFY(left(first) < left(second));
        QVERIFY(window.composeBox()->grab().save(screenshotFolder() +
                                                 "/capture-compose-two-thumbnails.png"));
        removeButton(first)->click();
        QCOMPARE(chat.state().imageURLs, std::vector<std::string>{expected[1]});
        QCOMPARE(chat.state().contextMode, ChatContextMode::images);
        QTRY_VERIFY(removeButton(second));
        removeButton(second)->click();
        QVERIFY(chat.state().imageURLs.empty());
        QCOMPARE(chat.state().contextMode, ChatContextMode::all);
    }

    void theDraggedAreaIsWrittenAsJpegUnderItsPngName() {
        if (!onX11()) QSKIP("the selection overlay runs on an X server (the xvfb run)");
        test::TempDir dir;
        const std::filesystem::path file = dir / "Folvane_-shot.png";
        whenOverlayShows([](SelectionOverlay* overlay) {
            QCOMPARE(overlay->accessibleName(), QStringLiteral("Screenshot selection"));
            QCOMPARE(overlay->cursor().shape(), Qt::CrossCursor);
            dragAndLook(overlay, QStringLiteral("capture-overlay-mid-drag.png"));
        });
        QVERIFY(DesktopScreenCapture().captureScreenshot(file));
        QVERIFY(isJpeg(file));
        QImageReader reader(QString::fromStdString(file.string()));
        QCOMPARE(reader.format(), QByteArray("jpeg"));
        QCOMPARE(reader.size(), QSize(200, 150));
    }

    void escapeRightClickAndAClickWithoutADragTakeNothing() {
        if (!onX11()) QSKIP("the selection overlay runs on an X server (the xvfb run)");
        test::TempDir dir;
        const std::filesystem::path file = dir / "Folvane_-none.png";
        whenOverlayShows([](SelectionOverlay*) {
            // A click selects nothing and the overlay stays for a drag.
            xdotool({"mousemove", "50", "50", "click", "1"});
            QTest::qWait(200);
            xdotool({"key", "Escape"});
        });
        QVERIFY(!DesktopScreenCapture().captureScreenshot(file));
        QVERIFY(!std::filesystem::exists(file));

        whenOverlayShows([](SelectionOverlay*) { xdotool({"click", "3"}); });
        QVERIFY(!DesktopScreenCapture().captureScreenshot(file));
        QVERIFY(!std::filesystem::exists(file));

        whenOverlayShows([](SelectionOverlay*) { xdotool({"key", "Return"}); });
        QVERIFY(DesktopScreenCapture().captureScreenshot(file));
        QVERIFY(isJpeg(file));
        QCOMPARE(QImage(QString::fromStdString(file.string())).size(),
                 QGuiApplication::primaryScreen()->size() *
                     QGuiApplication::primaryScreen()->devicePixelRatio());
    }

    void theToolbarButtonPutsTheSelectionInTheComposeBox() {
        if (!onX11()) QSKIP("the selection overlay runs on an X server (the xvfb run)");
        test::ShellTestCore shell;
        shell.core.chatList().trigger(chat_list_input::Sync{});
        const int64_t id = shell.core.chatList().state().chats.front().id();
        auto chat = *shell.core.chatList().find(id);
        ChatWindow window(id, shell.windows);
        showActive(window);
        whenOverlayShows([](SelectionOverlay* overlay) {
            dragAndLook(overlay, QStringLiteral("capture-overlay-over-chat.png"));
        });
        screenshotButton(window)->click();
        QCOMPARE(chat.state().imageURLs.size(), size_t(1));
        const auto path = pathFromFileUrl(chat.state().imageURLs.front());
        QVERIFY(path);
        QVERIFY(isJpeg(*path));
        QTRY_COMPARE(QApplication::focusWidget(), window.composeBox()->textEdit());
        QTest::qWait(300);
        QProcess::execute(QStringLiteral("import"),
                          {"-window", "root", screenshotFolder() + "/capture-chat-window.png"});
    }
};

QTEST_MAIN(ScreenCaptureTest)
#include "ScreenCaptureTest.moc"
