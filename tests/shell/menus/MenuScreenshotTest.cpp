#include <QDir>
#include <QPainter>
#include <QSet>
#include <QtTest>

#include "menus/MenuTestSupport.h"
#include "shell/chat/ChatSearchBar.h"
#include "shell/chat/TranscriptView.h"
#include "shell/viewer/DocumentPane.h"
#include "store/AppPreferences.h"

using namespace folvane;
using test::menuEntry;

namespace {

int colourCount(const QImage& image) {
    QSet<QRgb> colours;
    for (int y = 0; y < image.height() && colours.size() < 16; y += 3)
        for (int x = 0; x < image.width() && colours.size() < 16; x += 3)
            colours.insert(image.pixel(x, y));
    return int(colours.size());
}

// The window with a menu of its bar open (and one of its submenus, when
// named), as the user sees them: the menus are windows of their own, painted
// here over the window's picture where they open. Saved to
// build/screenshots/NAME.png.
void saveWithMenu(QMainWindow& window, const QStringList& path, const QString& name) {
    auto* transcript = window.findChild<TranscriptView*>();
    QTRY_VERIFY2_WITH_TIMEOUT(colourCount(transcript->grab().toImage()) >= 8,
                              qPrintable(name + ": the transcript is blank"), 20000);
    QMenuBar* bar = window.menuBar();
    QAction* top = menuEntry(bar, {path.front()});
    QMenu* menu = top->menu();
    const QPoint menuAt = bar->mapTo(&window, bar->actionGeometry(top).bottomLeft());
    bar->setActiveAction(top);
    menu->popup(window.mapToGlobal(menuAt));
    QImage image = window.grab().toImage();
    QPainter painter(&image);
    painter.drawPixmap(menuAt, menu->grab());
    if (path.size() > 1) {
        QAction* item = menuEntry(bar, {path[0], path[1]});
        menu->setActiveAction(item);
        const QPoint subAt =
            menuAt + QPoint(menu->width() - 4, menu->actionGeometry(item).top() - 4);
        item->menu()->popup(window.mapToGlobal(subAt));
        painter.drawPixmap(menuAt, menu->grab());
        painter.drawPixmap(subAt, item->menu()->grab());
        item->menu()->close();
    }
    painter.end();
    menu->close();
    bar->setActiveAction(nullptr);
    QVERIFY2(colourCount(image) >= 16, qPrintable(name + " is blank"));
    const QString folder = QCoreApplication::applicationDirPath() + "/../screenshots";
    QVERIFY(QDir().mkpath(folder));
    QVERIFY(image.save(folder + "/" + name + ".png"));
}

}  // namespace

class MenuScreenshotTest : public QObject {
    Q_OBJECT
  private slots:
    void aChatWindowWithItsMenusOpen() {
        test::ShellTestCore shell;
        ChatWindow* window =
            test::openChat(shell, "boiling.pdf",
                           {{"user", "What is the boiling point?"},
                            {"assistant", "The sample boiled at **81 degrees** (page 1)."},
                            {"user", "And at what pressure?"},
                            {"assistant", "The paper does not say."}});
        window->resize(1200, 760);
        QVERIFY(test::activate(window));
        shell.core.preferences().setShowPageReferences(true);
        saveWithMenu(*window, {"Edit", "Find"}, "menu-edit-find");
        saveWithMenu(*window, {"View"}, "menu-view");
        saveWithMenu(*window, {"Conversation", "Export"}, "menu-conversation-export");

        // The document viewer hidden and the messages searched, from the menus.
        menuEntry(window->menuBar(), {"View", "Hide Document Viewer"})->trigger();
        menuEntry(window->menuBar(), {"Edit", "Find", "Find in Chat..."})->trigger();
        QTest::keyClicks(window->chatSearch()->field(), "boiled");
        auto chat = test::chatOf(shell, window);
        QTRY_COMPARE(chat.state().searchResults.size(), size_t(1));
        saveWithMenu(*window, {"View"}, "menu-view-viewer-hidden");
    }
};

QTEST_MAIN(MenuScreenshotTest)
#include "MenuScreenshotTest.moc"
