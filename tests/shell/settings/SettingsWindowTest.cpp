#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QPushButton>
#include <QRegularExpression>
#include <QSet>
#include <QSlider>
#include <QTabWidget>
#include <QWebEnginePage>
#include <QWebEngineView>
#include <QtTest>
#include <functional>

#include "conversation/ChatListViewModel.h"
#include "shell/app/ColorSchemePalette.h"
#include "shell/chat/ChatWindow.h"
#include "shell/chat/TranscriptView.h"
#include "shell/settings/SettingsWindow.h"
#include "shell/start/StartWindow.h"
#include "store/AppPreferences.h"
#include "support/ShellTestCore.h"

using namespace folvane;

namespace {

template <typename Control>
Control* named(QWidget* root, const QString& name) {
    for (auto* control : root->findChildren<Control*>())
        if (control->accessibleName() == name) return control;
    return nullptr;
}

// Runs a script in the transcript's page and waits for its result.
QString eval(TranscriptView* view, const QString& script) {
    QVariant result;
    bool done = false;
    view->webView()->page()->runJavaScript(script, [&](const QVariant& value) {
        result = value;
        done = true;
    });
    if (!QTest::qWaitFor([&] { return done; }, 10000)) return QStringLiteral("(no answer)");
    return result.toString();
}

double fontSize(const QString& stylesheet) {
    const auto match =
        QRegularExpression(QStringLiteral("font-size: ([0-9.]+)px")).match(stylesheet);
    return match.hasMatch() ? match.captured(1).toDouble() : -1;
}

int colourCount(const QImage& image) {
    QSet<QRgb> colours;
    for (int y = 0; y < image.height() && colours.size() < 16; y += 3)
        for (int x = 0; x < image.width() && colours.size() < 16; x += 3)
            colours.insert(image.pixel(x, y));
    return int(colours.size());
}

void choose(QComboBox* box, const QString& entry) {
    const int index = box->findText(entry);
    QVERIFY2(index >= 0, qPrintable(entry));
    box->setCurrentIndex(index);
    emit box->activated(index);
}

}  // namespace

class SettingsWindowTest : public QObject {
    Q_OBJECT
  private slots:
    void theTabsStandInOrderWithTheirIdentifiers() {
        test::ShellTestCore shell;
        SettingsWindow window(shell.core);
        QStringList titles, identifiers;
        for (int i = 0; i < window.tabs()->count(); ++i) {
            titles << window.tabs()->tabText(i);
            identifiers << window.tabs()->widget(i)->objectName();
        }
        QCOMPARE(titles, QStringList({"General", "Models", "Appearance", "Prompts", "Integrations",
                                      "Privacy", "Advanced"}));
        QCOMPARE(identifiers, QStringList({"general-tab", "model", "appearance", "prompts",
                                           "integrations", "privacy", "advanced-tab"}));
    }

    void oneWindowBroughtForwardOnTheTabAsked() {
        test::ShellTestCore shell;
        shell.windows.showSettings();
        SettingsWindow* first = shell.windows.settingsWindow();
        QVERIFY(first && first->isVisible());
        QCOMPARE(first->currentTab(), SettingsTab::general);
        shell.windows.showSettings(SettingsTab::privacy);
        QCOMPARE(shell.windows.settingsWindow(), first);
        QCOMPARE(first->currentTab(), SettingsTab::privacy);
        // Without a tab it opens where it was.
        shell.windows.showSettings();
        QCOMPARE(first->currentTab(), SettingsTab::privacy);
        first->close();
        QTRY_VERIFY(!shell.windows.settingsWindow());
    }

    void ctrlCommaOpensTheSettingsFromTheStartAndChatWindows() {
        test::ShellTestCore shell;
        shell.windows.showWelcome();
        StartWindow* start = shell.windows.startWindow();
        QVERIFY(QTest::qWaitForWindowActive(start));
        QTest::keyClick(start, Qt::Key_Comma, Qt::ControlModifier);
        QTRY_VERIFY(shell.windows.settingsWindow() && shell.windows.settingsWindow()->isVisible());
        shell.windows.settingsWindow()->close();
        QTRY_VERIFY(!shell.windows.settingsWindow());

        auto* button = named<QPushButton>(start, "Settings");
        QVERIFY(button);
        button->click();
        QTRY_VERIFY(shell.windows.settingsWindow());
        shell.windows.settingsWindow()->close();
        QTRY_VERIFY(!shell.windows.settingsWindow());

        shell.core.chatList().trigger(chat_list_input::Sync{});
        const int64_t id = shell.core.chatList().state().chats.front().id();
        shell.windows.openChat(id);
        ChatWindow* chat = shell.windows.chatWindow(id);
        QVERIFY(QTest::qWaitForWindowActive(chat));
        QTest::keyClick(chat, Qt::Key_Comma, Qt::ControlModifier);
        QTRY_VERIFY(shell.windows.settingsWindow() && shell.windows.settingsWindow()->isVisible());
    }

    // An open chat window follows each setting of its look as it changes in
    // the settings window, without reopening.
    void anOpenChatFollowsTheSettingsAtOnce() {
        test::ShellTestCore shell;
        AppPreferences& preferences = shell.core.preferences();
        preferences.setColorScheme(AppColorScheme::light);
        const ColorSchemePalette palette(preferences);
        shell.core.chatList().trigger(chat_list_input::Sync{});
        const int64_t id = shell.core.chatList().state().chats.front().id();
        shell.windows.openChat(id);
        ChatWindow* chat = shell.windows.chatWindow(id);
        auto* transcript = chat->findChild<TranscriptView*>();
        QVERIFY(transcript);
        QTRY_VERIFY_WITH_TIMEOUT(transcript->isPageReady(), 20000);
        shell.windows.showSettings();
        SettingsWindow* settings = shell.windows.settingsWindow();

        const auto style = [&] {
            return eval(transcript, "document.getElementById('message-style').textContent");
        };
        const double size = fontSize(style());
        QVERIFY(size > 0);

        // The text size, a step up from the keyboard: 2 points more.
        auto* slider = named<QSlider>(settings, "Text Size");
        QVERIFY(slider);
        slider->setFocus();
        QTest::keyClick(slider, Qt::Key_Right);
        QTRY_COMPARE(fontSize(style()), size + 2);

        struct Row {
            const char* name;
            std::function<void()> change;
            const char* probe;
            const char* expected;
        };
        const std::vector<Row> rows = {
            {"leading", [&] { choose(named<QComboBox>(settings, "Line Spacing"), "Loose"); },
             "document.getElementById('message-style').textContent.includes('line-height: 1.75')",
             "true"},
            {"message font", [&] { preferences.setFontName("Serif Test"); },
             "document.getElementById('message-style').textContent.includes('\"Serif Test\"')",
             "true"},
            {"code font", [&] { preferences.setCodeFontName("Mono Test"); },
             "document.getElementById('message-style').textContent.includes('\"Mono Test\"')",
             "true"},
            {"light code theme",
             [&] { choose(named<QComboBox>(settings, "Code Theme in Light"), "Atom One Light"); },
             "document.getElementById('code-theme').getAttribute('href')",
             "lib/styles/atom-one-light.min.css"},
            {"dark scheme", [&] { choose(named<QComboBox>(settings, "Color Scheme"), "Dark"); },
             "String(document.documentElement.classList.contains('dark'))", "true"},
            // The demo chat's answer has a paragraph and page references.
            {"page references",
             [&] { named<QCheckBox>(settings, "Show Page References")->click(); },
             "String(document.querySelectorAll('#rows .references').length)", "0"},
            {"markdown", [&] { named<QCheckBox>(settings, "Markdown & Code Syntax")->click(); },
             "String(document.querySelectorAll('#rows p').length)", "0"},
            {"dark code theme",
             [&] { choose(named<QComboBox>(settings, "Code Theme in Dark"), "Nord"); },
             "document.getElementById('code-theme').getAttribute('href')",
             "lib/styles/nord.min.css"},
        };
        for (const auto& row : rows) {
            row.change();
            QTRY_VERIFY2(eval(transcript, row.probe) == QString::fromUtf8(row.expected), row.name);
        }
        QCOMPARE(transcript->pageLoads(), 1);
    }

    void alwaysOnTopFloatsTheOpenChatWindows() {
        test::ShellTestCore shell;
        shell.core.chatList().trigger(chat_list_input::Sync{});
        const int64_t id = shell.core.chatList().state().chats.front().id();
        shell.windows.openChat(id);
        ChatWindow* chat = shell.windows.chatWindow(id);
        QVERIFY(!chat->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
        shell.windows.showSettings(SettingsTab::general);
        auto* onTop = named<QCheckBox>(shell.windows.settingsWindow(), "Always on Top");
        QVERIFY(onTop);
        onTop->click();
        QVERIFY(chat->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
        QVERIFY(chat->isVisible());
        onTop->click();
        QVERIFY(!chat->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    }

    // Each tab in light and dark, kept in build/screenshots for a look.
    void eachTabDraws() {
        test::ShellTestCore shell;
        AppPreferences& preferences = shell.core.preferences();
        const ColorSchemePalette palette(preferences);
        SettingsWindow window(shell.core);
        // The offscreen screen is small; a desktop's gives the window this.
        window.resize(960, 760);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const QString folder = QCoreApplication::applicationDirPath() + "/../screenshots";
        QVERIFY(QDir().mkpath(folder));
        for (const auto scheme : {AppColorScheme::light, AppColorScheme::dark}) {
            preferences.setColorScheme(scheme);
            for (const SettingsTab tab : allSettingsTabs) {
                window.showTab(tab);
                QTest::qWait(50);
                const QImage image = window.grab().toImage();
                const QString name =
                    QStringLiteral("settings-%1-%2")
                        .arg(SettingsWindow::identifier(tab),
                             QString::fromUtf8(rawValue(scheme).data(),
                                               qsizetype(rawValue(scheme).size())));
                QVERIFY2(tab == SettingsTab::prompts || colourCount(image) >= 16,
                         qPrintable(name + " is blank"));
                QVERIFY(image.save(folder + "/" + name + ".png"));
            }
        }
    }
};

int main(int argc, char** argv) {
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    SettingsWindowTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "SettingsWindowTest.moc"
