#include <QDir>
#include <QKeySequenceEdit>
#include <QLabel>
#include <QPushButton>
#include <QtTest>

#include "shell/app/GlobalShortcut.h"
#include "shell/settings/IntegrationsTab.h"
#include "store/AppPreferences.h"

using namespace folvane;

namespace {

// The tab over in-memory settings and a shortcut whose desktop answers as
// the test says, remembering each key it was asked for.
struct Tab {
    AppPreferences preferences;
    GlobalShortcut::Status answer = GlobalShortcut::Status::registered;
    QList<QKeySequence> asked;
    GlobalShortcut shortcut{preferences, [this](const QKeySequence& key) {
                                asked << key;
                                return key.isEmpty() ? GlobalShortcut::Status::none : answer;
                            }};
    IntegrationsTab tab{preferences, &shortcut};

    Tab() {
        tab.resize(640, 560);
        tab.show();
    }

    QKeySequenceEdit* recorder() { return tab.findChild<QKeySequenceEdit*>("openWithFolvane"); }
    QLabel* takenLine() { return tab.findChild<QLabel*>("shortcut-taken"); }
    std::string stored() const {
        return preferences.value(Setting::openWithFolvane).get<std::string>();
    }

    // Presses a chord in the recorder and waits for it to finish recording.
    void record(Qt::Key key, Qt::KeyboardModifiers modifiers) {
        QKeySequenceEdit* edit = recorder();
        edit->setFocus();
        QSignalSpy finished(edit, &QKeySequenceEdit::editingFinished);
        QTest::keyClick(edit, key, modifiers);
        QVERIFY(finished.wait(3000));
    }
};

}  // namespace

class IntegrationsTabTest : public QObject {
    Q_OBJECT
  private slots:
    void theRecorderStoresTheKeyAndClearRemovesIt() {
        Tab t;
        QVERIFY(t.recorder());
        QCOMPARE(t.recorder()->accessibleName(), QStringLiteral("Shortcut"));
        t.record(Qt::Key_P, Qt::ControlModifier | Qt::AltModifier);
        QCOMPARE(t.stored(), std::string("Ctrl+Alt+P"));
        QCOMPARE(t.asked.last(), QKeySequence(QStringLiteral("Ctrl+Alt+P")));
        QCOMPARE(t.shortcut.status(), GlobalShortcut::Status::registered);
        QVERIFY(!t.takenLine()->isVisible());

        QPushButton* clear = nullptr;
        for (auto* button : t.tab.findChildren<QPushButton*>())
            if (button->accessibleName() == QStringLiteral("Clear")) clear = button;
        QVERIFY(clear);
        QTest::mouseClick(clear, Qt::LeftButton);
        QCOMPARE(t.stored(), std::string());
        QVERIFY(t.asked.last().isEmpty());
        QVERIFY(t.recorder()->keySequence().isEmpty());
    }

    void aKeyWithoutModifierIsRefused() {
        Tab t;
        t.record(Qt::Key_P, Qt::NoModifier);
        QCOMPARE(t.stored(), std::string());
        QVERIFY(t.recorder()->keySequence().isEmpty());
        // A function key alone is a shortcut.
        t.record(Qt::Key_F9, Qt::NoModifier);
        QCOMPARE(t.stored(), std::string("F9"));
    }

    void aTakenKeyShowsTheRedLine() {
        Tab t;
        t.answer = GlobalShortcut::Status::taken;
        t.record(Qt::Key_T, Qt::ControlModifier | Qt::AltModifier);
        QCOMPARE(t.shortcut.status(), GlobalShortcut::Status::taken);
        QLabel* line = t.takenLine();
        QVERIFY(line->isVisible());
        QCOMPARE(line->text(), QStringLiteral("Another program already uses this shortcut. Choose "
                                              "another, or bind \"folvane --activate\" in your "
                                              "desktop's keyboard settings."));
        const QString folder = QCoreApplication::applicationDirPath() + "/../screenshots";
        QDir().mkpath(folder);
        QVERIFY(t.tab.grab().save(folder + "/integrations-shortcut-taken.png"));

        // A key stored elsewhere (the command line, another window) is grabbed
        // and shown too.
        t.answer = GlobalShortcut::Status::registered;
        t.preferences.setValue(Setting::openWithFolvane, "Ctrl+Shift+F8");
        QCOMPARE(t.recorder()->keySequence(), QKeySequence(QStringLiteral("Ctrl+Shift+F8")));
        QVERIFY(!line->isVisible());
    }
};

QTEST_MAIN(IntegrationsTabTest)
#include "IntegrationsTabTest.moc"
