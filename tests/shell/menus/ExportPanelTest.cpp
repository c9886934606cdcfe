#include <QFile>
#include <QMessageBox>
#include <QRegularExpression>
#include <QtTest>

#include "conversation/ChatExporter.h"
#include "menus/MenuTestSupport.h"

using namespace folvane;
using test::menuEntry;

namespace {

// The panels that opened and the files shown in the file manager; the user
// confirms `path`, or cancels when it is empty.
struct Desktop {
    QString path;
    std::vector<ExportPanel::Request> panels;
    std::vector<QString> revealed;

    MenuDesktop make() {
        MenuDesktop desktop;
        desktop.chooseSavePath = [this](QWidget*, const ExportPanel::Request& request,
                                        std::function<void(const QString&)> chosen) {
            panels.push_back(request);
            if (!path.isEmpty()) chosen(path);
        };
        desktop.reveal = [this](const QString& fileUrl) { revealed.push_back(fileUrl); };
        return desktop;
    }
};

const std::vector<std::pair<std::string, std::string>> rows = {
    {"system", "You answer from the paper."},
    {"user", "What is the boiling point?"},
    {"function", "{\"page\": 1}"},
    {"assistant", "It boils at **81** degrees."},
    {"user", "Thanks — ünïcode"},
};

}  // namespace

class ExportPanelTest : public QObject {
    Q_OBJECT
  private slots:
    void eachFormatWritesTheChatWhereTheUserChoseAndShowsIt() {
        test::ShellTestCore shell;
        ChatWindow* window = test::openChat(shell, "paper.pdf", rows);
        QVERIFY(test::activate(window));
        const auto chat = test::chatOf(shell, window);
        Desktop desktop;
        const std::vector<std::tuple<const char*, ChatExportFormat, const char*, const char*>>
            cases = {
                {"Export as Markdown", ChatExportFormat::markdown, "Export the chat to markdown",
                 "md"},
                {"Export as HTML", ChatExportFormat::html, "Export the chat to HTML", "html"},
                {"Export as JSON", ChatExportFormat::json,
                 "Export the chat to JSON (fine-tuning compatible)", "json"},
            };
        const QRegularExpression name("^chat-[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}$");
        for (const auto& [entry, format, title, suffix] : cases) {
            desktop.path = QString::fromStdString(shell.dir / "out.") + suffix;
            desktop.revealed.clear();
            test::menuBarOf(window)->setDesktop(desktop.make());
            menuEntry(test::menuBarOf(window), {"Conversation", "Export", entry})->trigger();
            const auto& panel = desktop.panels.back();
            QCOMPARE(panel.title, QString::fromUtf8(title));
            QCOMPARE(panel.suffix, QString::fromUtf8(suffix));
            QVERIFY2(name.match(panel.defaultName).hasMatch(), qPrintable(panel.defaultName));
            QFile file(desktop.path);
            QVERIFY(file.open(QIODevice::ReadOnly));
            QCOMPARE(file.readAll().toStdString(),
                     ChatExporter::render(format, chat.state().messages));
            QCOMPARE(desktop.revealed, std::vector{QUrl::fromLocalFile(desktop.path).toString()});
        }
        // The chat's own rows, the user's and the assistant's only.
        QCOMPARE(test::readFile(shell.dir / "out.md"),
                 std::string("**User**: What is the boiling point?\n\n**Assistant**: It boils at "
                             "**81** degrees.\n\n**User**: Thanks — ünïcode\n\n"));
        // Every panel proposes a name of its own.
        QVERIFY(desktop.panels[0].defaultName != desktop.panels[1].defaultName);
    }

    void aCancelledPanelOrAFailedWriteShowsNothing() {
        test::ShellTestCore shell;
        ChatWindow* window = test::openChat(shell, "paper.pdf", rows);
        QVERIFY(test::activate(window));
        Desktop desktop;
        for (const QString& path : {QString(), QString::fromStdString(shell.dir / "gone/chat.md"),
                                    QString::fromStdString(shell.dir.path().string())}) {
            desktop.path = path;
            test::menuBarOf(window)->setDesktop(desktop.make());
            menuEntry(test::menuBarOf(window), {"Conversation", "Export", "Export as Markdown"})
                ->trigger();
            QVERIFY2(desktop.revealed.empty(), qPrintable(path));
            QVERIFY(window->findChildren<QMessageBox*>().isEmpty());
        }
        QCOMPARE(desktop.panels.size(), size_t(3));
        QVERIFY(!QFile::exists(QString::fromStdString(shell.dir / "gone")));
    }
};

QTEST_MAIN(ExportPanelTest)
#include "ExportPanelTest.moc"
