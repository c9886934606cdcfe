#include <QFile>
#include <QFileDialog>
#include <QMessageBox>
#include <QRegularExpression>
#include <QtTest>
#include <nlohmann/json.hpp>

#include "menus/MenuTestSupport.h"

using namespace folvane;
using test::menuEntry;

namespace {

// The panels that opened, and the files shown in the file manager.
struct Desktop {
    std::vector<ExportPanel::Request> panels;
    std::vector<QWidget*> parents;
    std::vector<QString> revealed;
    // The path the user confirms: empty cancels.
    std::function<QString(const ExportPanel::Request&)> answer;

    MenuDesktop make() {
        MenuDesktop desktop;
        desktop.chooseSavePath = [this](QWidget* parent, const ExportPanel::Request& request,
                                        std::function<void(const QString&)> chosen) {
            panels.push_back(request);
            parents.push_back(parent);
            const QString path = answer(request);
            if (!path.isEmpty()) chosen(path);
        };
        desktop.reveal = [this](const QString& fileUrl) { revealed.push_back(fileUrl); };
        return desktop;
    }
};

QString readFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return QStringLiteral("<missing>");
    return QString::fromUtf8(file.readAll());
}

// A chat of every kind of row: only the user's and the assistant's are exported.
const std::vector<std::pair<std::string, std::string>> rows = {
    {"system", "You answer from the paper."},
    {"user", "What is the boiling point?"},
    {"function", "{\"page\": 1}"},
    {"assistant", "It boils at **81** degrees."},
    {"application", ""},
    {"user", "Thanks — ünïcode"},
};

}  // namespace

class ExportPanelTest : public QObject {
    Q_OBJECT
  private slots:
    void eachFormatWritesTheChatAndShowsTheFile() {
        test::ShellTestCore shell;
        ChatWindow* window = test::openChat(shell, "paper.pdf", rows);
        QVERIFY(test::activate(window));
        QCOMPARE(test::chatOf(shell, window).state().messages.size(), rows.size());
        Desktop desktop;
        desktop.answer = [&](const ExportPanel::Request& request) {
            return QString::fromStdString(shell.dir / "out.") + request.suffix;
        };
        test::menuBarOf(window)->setDesktop(desktop.make());

        struct Case {
            const char* entry;
            const char* title;
            const char* suffix;
            std::function<void(const QString& text)> check;
        };
        const std::vector<Case> cases = {
            {"Export as Markdown", "Export the chat to markdown", "md",
             [](const QString& text) {
                 QCOMPARE(text, QStringLiteral("**User**: What is the boiling point?\n\n"
                                               "**Assistant**: It boils at **81** degrees.\n\n"
                                               "**User**: Thanks — ünïcode\n\n"));
             }},
            {"Export as HTML", "Export the chat to HTML", "html",
             [](const QString& text) {
                 QVERIFY(text.startsWith("<!DOCTYPE html>\n<html>\n\n<head>\n"));
                 QVERIFY(text.endsWith("\n</body>\n\n</html>"));
                 QVERIFY(text.contains("<strong>User</strong>: What is the boiling point?"));
                 QVERIFY(text.contains("It boils at <strong>81</strong> degrees."));
                 QVERIFY(text.contains("Thanks — ünïcode"));
                 QVERIFY(!text.contains("You answer from the paper."));
                 QVERIFY(!text.contains("page"));
             }},
            {"Export as JSON", "Export the chat to JSON (fine-tuning compatible)", "json",
             [](const QString& text) {
                 const auto json = nlohmann::json::parse(text.toStdString());
                 const auto expected = nlohmann::json::array({
                     {{"role", "user"}, {"content", "What is the boiling point?"}},
                     {{"role", "assistant"}, {"content", "It boils at **81** degrees."}},
                     {{"role", "user"}, {"content", "Thanks — ünïcode"}},
                 });
                 QCOMPARE(json, expected);
             }},
        };
        const QRegularExpression name(
            "^chat-[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-"
            "[0-9a-f]{12}$");
        for (const auto& c : cases) {
            desktop.revealed.clear();
            menuEntry(test::menuBarOf(window), {"Conversation", "Export", c.entry})->trigger();
            const ExportPanel::Request& panel = desktop.panels.back();
            QCOMPARE(panel.title, QString::fromUtf8(c.title));
            QCOMPARE(panel.suffix, QString::fromLatin1(c.suffix));
            QVERIFY(panel.nameFilter.endsWith(QStringLiteral("(*.%1)").arg(c.suffix)));
            QVERIFY2(name.match(panel.defaultName).hasMatch(), qPrintable(panel.defaultName));
            QCOMPARE(desktop.parents.back(), static_cast<QWidget*>(window));
            const QString path = QString::fromStdString(shell.dir / "out.") + c.suffix;
            c.check(readFile(path));
            if (QTest::currentTestFailed()) return;
            QCOMPARE(desktop.revealed, std::vector<QString>{QUrl::fromLocalFile(path).toString()});
        }
        // Every panel proposes a name of its own.
        QVERIFY(desktop.panels[0].defaultName != desktop.panels[1].defaultName);
        QVERIFY(desktop.panels[1].defaultName != desktop.panels[2].defaultName);
    }

    void anEmptyChatExportsEmptyFiles() {
        test::ShellTestCore shell;
        ChatWindow* window = test::openChat(shell, "paper.pdf", {{"system", "Hidden."}});
        QVERIFY(test::activate(window));
        Desktop desktop;
        desktop.answer = [&](const ExportPanel::Request& request) {
            return QString::fromStdString(shell.dir / "empty.") + request.suffix;
        };
        test::menuBarOf(window)->setDesktop(desktop.make());
        const std::vector<std::pair<const char*, const char*>> cases = {
            {"Export as Markdown", "md"}, {"Export as JSON", "json"}, {"Export as HTML", "html"}};
        for (const auto& [entry, suffix] : cases)
            menuEntry(test::menuBarOf(window), {"Conversation", "Export", entry})->trigger();
        const QString base = QString::fromStdString(shell.dir / "empty.");
        QCOMPARE(readFile(base + "md"), QString());
        QCOMPARE(readFile(base + "json"), QStringLiteral("[]"));
        const QString html = readFile(base + "html");
        QVERIFY(html.contains("<body>\n\n</body>") || html.contains("<body>\n</body>"));
        QCOMPARE(desktop.revealed.size(), size_t(3));
    }

    void aCancelledPanelOrAFailedWriteLeavesNoFileAndSaysNothing() {
        test::ShellTestCore shell;
        ChatWindow* window = test::openChat(shell, "paper.pdf", rows);
        QVERIFY(test::activate(window));
        Desktop desktop;
        const std::vector<std::pair<const char*, QString>> cases = {
            {"cancelled", QString()},
            {"a folder that is not there", QString::fromStdString(shell.dir / "missing/chat.md")},
            {"a folder in the file's place", QString::fromStdString(shell.dir.path().string())},
        };
        for (const auto& [what, path] : cases) {
            desktop.answer = [path = path](const ExportPanel::Request&) { return path; };
            test::menuBarOf(window)->setDesktop(desktop.make());
            menuEntry(test::menuBarOf(window), {"Conversation", "Export", "Export as Markdown"})
                ->trigger();
            QVERIFY2(desktop.revealed.empty(), what);
            QVERIFY2(window->findChildren<QMessageBox*>().isEmpty(), what);
        }
        QCOMPARE(desktop.panels.size(), cases.size());
        QVERIFY(!QFile::exists(QString::fromStdString(shell.dir / "missing")));
    }

    void theDialogHasTheFormatsTitleTypeAndName() {
        // The desktop's own panel, as the user sees it.
        QWidget parent;
        const auto request = ExportPanel::request(ChatExportFormat::json);
        QString confirmed;
        ExportPanel::chooseWithDialog(&parent, request,
                                      [&](const QString& path) { confirmed = path; });
        auto* dialog = parent.findChild<QFileDialog*>();
        QVERIFY(dialog && dialog->isVisible());
        QVERIFY(!dialog->isModal());
        QCOMPARE(dialog->windowTitle(),
                 QStringLiteral("Export the chat to JSON (fine-tuning compatible)"));
        QCOMPARE(dialog->acceptMode(), QFileDialog::AcceptSave);
        QCOMPARE(dialog->defaultSuffix(), QStringLiteral("json"));
        QCOMPARE(dialog->nameFilters(), QStringList{"JSON (*.json)"});
        dialog->reject();
        QVERIFY(confirmed.isEmpty());
    }
};

QTEST_MAIN(ExportPanelTest)
#include "ExportPanelTest.moc"
