#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QKeySequenceEdit>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSlider>
#include <QSpinBox>
#include <QTabBar>
#include <QTabWidget>
#include <QtTest>
#include <filesystem>
#include <set>

#include "shell/settings/PrivacyTab.h"
#include "shell/settings/SettingsWindow.h"
#include "store/AppPreferences.h"
#include "support/LoopbackServer.h"
#include "support/ShellTestCore.h"

using namespace folvane;

Q_DECLARE_METATYPE(folvane::Setting)

namespace {

// The settings window over a fresh core, shown and active.
struct Settings {
    test::ShellTestCore shell;
    AppPreferences& preferences = shell.core.preferences();
    SettingsWindow window{shell.core};

    Settings() {
        window.show();
        (void)QTest::qWaitForWindowActive(&window);
    }

    // The control of a tab that is named so.
    template <typename Control>
    Control* find(SettingsTab tab, const QString& name) {
        window.showTab(tab);
        for (auto* control : window.page(tab)->findChildren<Control*>())
            if (control->accessibleName() == name) return control;
        return nullptr;
    }

    // The settings file cannot be replaced any more: every write fails.
    void breakTheStore() {
        const auto file = shell.dir.path() / "config" / "settings.json";
        std::filesystem::remove(file);
        std::filesystem::create_directories(file / "in-the-way");
    }
};

// Picks an entry of a choice as the user does, which writes the setting.
void choose(QComboBox* box, int index) {
    box->setCurrentIndex(index);
    emit box->activated(index);
}

// Answers the next modal message box with its button of that text, and
// records the box's text.
void answerNextBox(const QString& button, QString* text = nullptr) {
    QTimer::singleShot(0, [=] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box) return;
        if (text) *text = box->text();
        for (auto* candidate : box->buttons())
            if (candidate->text().remove(QLatin1Char('&')) == button) candidate->click();
    });
}

// What the user works: a spin box's own line edit and the scroll bars are
// parts of other controls.
bool isControl(QWidget* widget) {
    // A spin box's and a key recorder's line edits are parts of them.
    if (qobject_cast<QAbstractSpinBox*>(widget->parentWidget()) ||
        qobject_cast<QKeySequenceEdit*>(widget->parentWidget()) ||
        qobject_cast<QScrollBar*>(widget))
        return false;
    return qobject_cast<QAbstractButton*>(widget) || qobject_cast<QComboBox*>(widget) ||
           qobject_cast<QKeySequenceEdit*>(widget) ||
           qobject_cast<QAbstractSpinBox*>(widget) || qobject_cast<QAbstractSlider*>(widget) ||
           qobject_cast<QLineEdit*>(widget) || qobject_cast<QAbstractScrollArea*>(widget);
}

}  // namespace

class SettingsTabsTest : public QObject {
    Q_OBJECT
  private slots:
    void aToggleWritesItsSettingAndFollowsIt_data() {
        QTest::addColumn<int>("tab");
        QTest::addColumn<Setting>("setting");
        const auto row = [](const char* name, SettingsTab tab, Setting setting) {
            QTest::newRow(name) << int(tab) << setting;
        };
        row("Always on Top", SettingsTab::general, Setting::alwaysOnTop);
        row("LaTeX & Math Expression", SettingsTab::general, Setting::useLaTeX);
        row("Markdown & Code Syntax", SettingsTab::general, Setting::useMarkdown);
        row("Show Page References", SettingsTab::general, Setting::showPageReferences);
        row("Close Welcome Window Automatically", SettingsTab::general,
            Setting::autoCloseWelcomeWindow);
        row("Tag Documents Automatically", SettingsTab::general, Setting::autoTagIndexedFiles);
        row("Use OCR for PDF Forms", SettingsTab::general, Setting::useOCRForPDFForms);
        row("Continue Last Conversation", SettingsTab::general, Setting::continueLastConversation);
        row("Suggest Questions Automatically", SettingsTab::general, Setting::autoSuggestQuestions);
        row("Append Instruction to My Messages", SettingsTab::general,
            Setting::appendUserInstructionToUserMessage);
        row("Redact Credit Card Numbers", SettingsTab::privacy, Setting::redactCCNumbers);
        row("Redact Phone Numbers", SettingsTab::privacy, Setting::redactPhoneNumbers);
        row("Redact Email Addresses", SettingsTab::privacy, Setting::redactEmailAddresses);
        row("Hide Monetary Amounts", SettingsTab::privacy, Setting::hideMonetaryAmounts);
    }

    void aToggleWritesItsSettingAndFollowsIt() {
        QFETCH(int, tab);
        QFETCH(Setting, setting);
        Settings s;
        auto* box = s.find<QCheckBox>(SettingsTab(tab), QString::fromUtf8(QTest::currentDataTag()));
        QVERIFY(box);
        const bool before = s.preferences.value(setting).get<bool>();
        QCOMPARE(box->isChecked(), before);

        box->click();
        QCOMPARE(s.preferences.value(setting).get<bool>(), !before);

        // From another window or the command line.
        s.preferences.setValue(setting, before);
        QCOMPARE(box->isChecked(), before);
    }

    void aChoiceWritesItsSettingAndFollowsIt_data() {
        QTest::addColumn<int>("tab");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("entry");
        QTest::addColumn<Setting>("setting");
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("fromOutside");
        QTest::addColumn<QString>("shownForIt");
        const auto row = [](const char* tag, SettingsTab tab, const char* name, const char* entry,
                            Setting setting, const char* stored, const char* fromOutside,
                            const char* shownForIt) {
            QTest::newRow(tag) << int(tab) << QString::fromUtf8(name) << QString::fromUtf8(entry)
                               << setting << QString::fromUtf8(stored)
                               << QString::fromUtf8(fromOutside) << QString::fromUtf8(shownForIt);
        };
        row("finder tag", SettingsTab::general, "Finder Tag", "\U0001F7E3 Purple",
            Setting::defaultFinderTag, "Purple", "Red", "\U0001F534 Red");
        row("a tag the list lacks", SettingsTab::general, "Finder Tag", "\U0001F7E2 Green",
            Setting::defaultFinderTag, "Green", "Work", "Work");
        row("color scheme", SettingsTab::appearance, "Color Scheme", "Dark", Setting::colorScheme,
            "dark", "light", "Light");
        row("line spacing", SettingsTab::appearance, "Line Spacing", "Loose", Setting::fontLeading,
            "loose", "tight", "Tight");
        row("light code theme", SettingsTab::appearance, "Code Theme in Light",
            "Atom One Dark Reasonable", Setting::codeColorSchemeLight, "atom-one-dark-reasonable",
            "vs2015", "VS 2015");
        row("dark code theme", SettingsTab::appearance, "Code Theme in Dark", "Default",
            Setting::codeColorSchemeDark, "default", "github-dark-dimmed", "GitHub Dark Dimmed");
    }

    void aChoiceWritesItsSettingAndFollowsIt() {
        QFETCH(int, tab);
        QFETCH(QString, name);
        QFETCH(QString, entry);
        QFETCH(Setting, setting);
        QFETCH(QString, stored);
        QFETCH(QString, fromOutside);
        QFETCH(QString, shownForIt);
        Settings s;
        auto* box = s.find<QComboBox>(SettingsTab(tab), name);
        QVERIFY(box);
        const int index = box->findText(entry);
        QVERIFY2(index >= 0, qPrintable(entry));
        choose(box, index);
        QCOMPARE(QString::fromStdString(s.preferences.value(setting).get<std::string>()), stored);

        s.preferences.setValue(setting, fromOutside.toStdString());
        QCOMPARE(box->currentText(), shownForIt);
    }

    void aFontPickerOffersTheSystemFontAsNoFamily() {
        Settings s;
        for (auto [name, setting] : {std::pair{"Message Font", Setting::fontName},
                                     std::pair{"Code Font", Setting::codeFontName}}) {
            auto* box = s.find<QComboBox>(SettingsTab::appearance, name);
            QVERIFY(box);
            QCOMPARE(box->currentText(), QStringLiteral("System Font"));
            QVERIFY2(box->count() > 1, "no font families listed");
            const QString family = box->itemText(1);
            choose(box, 1);
            QCOMPARE(s.preferences.value(setting), nlohmann::json(family.toStdString()));
            choose(box, 0);
            QVERIFY(s.preferences.value(setting).is_null());
            // A family that this desktop lacks still shows as chosen.
            s.preferences.setValue(setting, "Gone Sans");
            QCOMPARE(box->currentText(), QStringLiteral("Gone Sans"));
        }
    }

    void theTextSizeMovesInStepsAndResets() {
        Settings s;
        auto* size = s.find<QSlider>(SettingsTab::appearance, "Text Size");
        auto* reset = s.find<QPushButton>(SettingsTab::appearance, "Reset");
        QVERIFY(size && reset);
        QCOMPARE(size->value(), 0);
        QVERIFY(!reset->isEnabled());
        size->setFocus();
        QTest::keyClick(size, Qt::Key_Right);
        QTest::keyClick(size, Qt::Key_Right);
        QCOMPARE(s.preferences.textSizeAdjustment(), 2);
        QVERIFY(reset->isEnabled());
        reset->click();
        QCOMPARE(s.preferences.textSizeAdjustment(), 0);
        QCOMPARE(size->value(), 0);
        // Beyond the slider's end, set elsewhere: the slider still shows it.
        s.preferences.setTextSizeAdjustment(14);
        QCOMPARE(size->value(), 14);
        QVERIFY(size->accessibleDescription().contains("14 steps"));
    }

    void theOcrLevelIsOneOfTwo() {
        Settings s;
        auto* accurate = s.find<QRadioButton>(SettingsTab::general, "Accurate");
        auto* fast = s.find<QRadioButton>(SettingsTab::general, "Fast");
        QVERIFY(accurate && fast);
        QVERIFY(accurate->isChecked());
        // The arrow keys move between the choices, and choose.
        accurate->setFocus();
        QTest::keyClick(accurate, Qt::Key_Down);
        QVERIFY(fast->hasFocus());
        QCOMPARE(s.preferences.ocrRecognitionLevel(), std::string("fast"));
        // Anything but "accurate" is the fast level.
        s.preferences.setOcrRecognitionLevel("accurate");
        QVERIFY(accurate->isChecked());
        s.preferences.setOcrRecognitionLevel("quick");
        QVERIFY(fast->isChecked());
    }

    void textFieldsWriteAsTheUserTypes() {
        Settings s;
        auto* instruction = s.find<QPlainTextEdit>(SettingsTab::general, "Custom Instruction");
        QVERIFY(instruction);
        instruction->setFocus();
        QTest::keyClicks(instruction, "Be brief.");
        QCOMPARE(s.preferences.userInstruction(), std::string("Be brief."));
        s.preferences.setUserInstruction("Quote pages.");
        QCOMPARE(instruction->toPlainText(), QStringLiteral("Quote pages."));

        auto* engine = s.find<QLineEdit>(SettingsTab::integrations, "Search Engine ID");
        auto* key = s.find<QLineEdit>(SettingsTab::integrations, "API Key");
        QVERIFY(engine && key);
        QCOMPARE(key->echoMode(), QLineEdit::Password);
        QTest::keyClicks(engine, "engine-7");
        QTest::keyClicks(key, "not-a-real-key");
        QCOMPARE(s.preferences.googleSearchEngineId(), std::string("engine-7"));
        QCOMPARE(s.preferences.googleSearchApiKey(), std::string("not-a-real-key"));
        s.preferences.setGoogleSearchEngineId("other");
        QCOMPARE(engine->text(), QStringLiteral("other"));
    }

    void theIndexingStrategyAsksBeforeOpenAI() {
        Settings s;
        s.preferences.setDataIngestionStrategy(DataIngestionStrategy::smart);
        auto* fast = s.find<QRadioButton>(SettingsTab::advanced, "Fast");
        auto* accurate = s.find<QRadioButton>(SettingsTab::advanced, "Accurate");
        auto* threshold = s.find<QSpinBox>(SettingsTab::advanced, "Page count threshold");
        QVERIFY(fast && accurate && threshold);
        QVERIFY(threshold->isVisible());

        fast->click();
        QCOMPARE(s.preferences.dataIngestionStrategy(), DataIngestionStrategy::local);
        // The threshold belongs to the smart strategy alone.
        QVERIFY(!threshold->isVisible());

        QString asked;
        answerNextBox("Cancel", &asked);
        accurate->click();
        QVERIFY(asked.contains("$1 per 63,000 pages"));
        QCOMPARE(s.preferences.dataIngestionStrategy(), DataIngestionStrategy::local);
        QVERIFY(fast->isChecked());

        answerNextBox("Use OpenAI for embedding");
        accurate->click();
        QCOMPARE(s.preferences.dataIngestionStrategy(), DataIngestionStrategy::openai);

        s.preferences.setDataIngestionStrategy(DataIngestionStrategy::smart);
        QVERIFY(threshold->isVisible());
        threshold->setValue(120);
        QCOMPARE(s.preferences.pageCountThreshold(), 120);
        s.preferences.setPageCountThreshold(450);
        QCOMPARE(threshold->value(), 450);
        QVERIFY(threshold->accessibleDescription().endsWith("more than 450 pages"));
    }

    void parallelIndexingCountsTasks() {
        Settings s;
        auto* tasks = s.find<QSlider>(SettingsTab::advanced, "Parallel Indexing");
        QVERIFY(tasks);
        QCOMPARE(tasks->value(), 5);
        tasks->setValue(8);
        QCOMPARE(s.preferences.indexingParallelTask(), 8);
        // Beyond the slider's end, set elsewhere: the slider still shows it.
        s.preferences.setIndexingParallelTask(16);
        QCOMPARE(tasks->value(), 16);
    }

    void theModelDownloadsOnAskingAndStoresItsDigest() {
        test::LoopbackServer server;
        const std::string weights(300'000, 'w');
        server.setHandler(test::plainResponse(weights, 200, "application/octet-stream"));
        Settings s;
        s.preferences.setValue(Setting::embeddingModelURL, server.baseURL() + "/m");
        auto* download = s.find<QPushButton>(SettingsTab::advanced, "Download the local model");
        QVERIFY(download);
        QVERIFY(server.requests().empty());  // nothing is fetched until asked

        download->click();
        QVERIFY(!download->isEnabled());
        QTRY_VERIFY_WITH_TIMEOUT(download->isEnabled(), 10000);
        const auto model = std::filesystem::path(s.shell.core.paths().dataDirectory) / "models" /
                           "msmarco-distilbert-base-tas-b.safetensors";
        QCOMPARE(test::readFile(model), weights);
        QCOMPARE(s.preferences.embeddingModelSHA256().size(), size_t(64));
        auto* status = download->parentWidget()->findChildren<QLabel*>().front();
        QVERIFY(
            status->text().contains(QString::fromStdString(s.preferences.embeddingModelSHA256())));

        // Another file under the address: refused, in the user's words.
        server.setHandler(test::plainResponse("other", 200, "application/octet-stream"));
        download->click();
        QTRY_VERIFY_WITH_TIMEOUT(download->isEnabled(), 10000);
        QVERIFY(status->text().startsWith("The downloaded file does not match"));
        QCOMPARE(test::readFile(model), weights);
    }

    void aCancelledDownloadKeepsWhatCameForTheNextOne() {
        test::LoopbackServer server;
        server.setHandler(
            test::chunkedResponse(std::vector<std::string>(200, std::string(1000, 'p')), 200, {},
                                  std::chrono::milliseconds(20)));
        Settings s;
        s.preferences.setValue(Setting::embeddingModelURL, server.baseURL() + "/m");
        auto* download = s.find<QPushButton>(SettingsTab::advanced, "Download the local model");
        auto* cancel = s.find<QPushButton>(SettingsTab::advanced, "Cancel the download");
        QVERIFY(download && cancel);
        auto* status = download->parentWidget()->findChildren<QLabel*>().front();

        download->click();
        QVERIFY(cancel->isVisible());
        QTRY_VERIFY_WITH_TIMEOUT(status->text().contains("MB/s"), 5000);
        cancel->click();
        QTRY_VERIFY_WITH_TIMEOUT(download->isEnabled(), 5000);
        QVERIFY(!cancel->isVisible());
        QVERIFY(status->text().startsWith("The download was cancelled."));
        const auto part = std::filesystem::path(s.shell.core.paths().dataDirectory) / "models" /
                          "msmarco-distilbert-base-tas-b.safetensors.part";
        QVERIFY(std::filesystem::file_size(part) > 0);
        QVERIFY(s.preferences.embeddingModelSHA256().empty());
    }

    void thePreviewRedactsAsTheSwitchesStand_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("kept");
        QTest::newRow("email") << "Redact Email Addresses"
                               << "jane.doe@example.com";
        QTest::newRow("phone") << "Redact Phone Numbers"
                               << "+1 415 555 0134";
        QTest::newRow("money") << "Hide Monetary Amounts"
                               << "$1,250.00";
    }

    void thePreviewRedactsAsTheSwitchesStand() {
        QFETCH(QString, name);
        QFETCH(QString, kept);
        Settings s;
        auto* tab = s.window.page(SettingsTab::privacy)->findChild<PrivacyTab*>();
        QVERIFY(tab);
        // A fresh installation redacts card numbers alone.
        QVERIFY(!tab->redactedText().contains("4111 1111 1111 1111"));
        QVERIFY(tab->redactedText().contains("[REDACTED]"));
        QVERIFY(tab->redactedText().contains(kept));

        s.find<QCheckBox>(SettingsTab::privacy, name)->click();
        QVERIFY(!tab->redactedText().contains(kept));
        // From elsewhere, too.
        s.preferences.setRedactEmailAddresses(false);
        s.preferences.setRedactPhoneNumbers(false);
        s.preferences.setHideMonetaryAmounts(false);
        QVERIFY(tab->redactedText().contains(kept));
    }

    void thePreviewFollowsTheSample() {
        Settings s;
        auto* tab = s.window.page(SettingsTab::privacy)->findChild<PrivacyTab*>();
        QVERIFY(tab);
        s.preferences.setRedactEmailAddresses(true);
        tab->sampleField()->clear();
        QCOMPARE(tab->redactedText(), QString());
        QTest::keyClicks(tab->sampleField(), "mail bob@example.org <b>now</b>");
        QCOMPARE(tab->redactedText(), QStringLiteral("mail [REDACTED] <b>now</b>"));
        s.preferences.setRedactEmailAddresses(false);
        QCOMPARE(tab->redactedText(), QStringLiteral("mail bob@example.org <b>now</b>"));
    }

    void aWriteThatFailsIsShownAndTheControlGoesBack() {
        Settings s;
        auto* box = s.find<QCheckBox>(SettingsTab::general, "Always on Top");
        auto* instruction = s.find<QPlainTextEdit>(SettingsTab::general, "Custom Instruction");
        QVERIFY(box && instruction);
        s.breakTheStore();
        QString shown;
        answerNextBox("OK", &shown);
        box->click();
        QVERIFY2(shown.contains("was not saved"), qPrintable(shown));
        QVERIFY(!box->isChecked());
        QCOMPARE(s.preferences.alwaysOnTop(), false);

        // What the user typed stays in the field.
        answerNextBox("OK", &shown);
        instruction->setFocus();
        QTest::keyClick(instruction, Qt::Key_A);
        QCOMPARE(instruction->toPlainText(), QStringLiteral("a"));
        QCOMPARE(s.preferences.userInstruction(), std::string());
    }

    void everyControlIsNamedAndReachedByTab() {
        Settings s;
        for (const SettingsTab tab : allSettingsTabs) {
            // The models' and the prompts' tabs are tested with their own views.
            if (tab == SettingsTab::models || tab == SettingsTab::prompts) continue;
            s.window.showTab(tab);
            QWidget* page = s.window.page(tab);

            // Tab from the tab bar round to it again, noting each stop.
            QTabBar* bar = s.window.tabs()->tabBar();
            bar->setFocus();
            QTRY_VERIFY(bar->hasFocus());
            std::set<QWidget*> reached;
            for (int i = 0; i < 100; ++i) {
                QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
                if (QApplication::focusWidget() == bar) break;
                reached.insert(QApplication::focusWidget());
            }
            for (auto* control : page->findChildren<QWidget*>()) {
                if (!isControl(control) || !control->isVisible() || !control->isEnabled()) continue;
                const QString name = control->accessibleName();
                QVERIFY2(!name.isEmpty(), control->metaObject()->className());
                // Tab stops once in a group of choices, at its chosen one;
                // the arrow keys move between them.
                QWidget* stop = control;
                if (auto* radio = qobject_cast<QRadioButton*>(control); radio && radio->group())
                    stop = radio->group()->checkedButton();
                QVERIFY2(reached.count(stop), qPrintable(SettingsWindow::title(tab) + ": " + name));
            }
        }
    }
};

QTEST_MAIN(SettingsTabsTest)
#include "SettingsTabsTest.moc"
