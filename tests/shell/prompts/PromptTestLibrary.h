#pragma once

#include <QApplication>
#include <QWidget>
#include <QtTest>
#include <memory>
#include <string>
#include <vector>

#include "chat/AppChatService.h"
#include "conversation/PromptListViewModel.h"
#include "shell/app/QtMainQueue.h"
#include "store/AppPreferences.h"
#include "store/SqliteConnection.h"
#include "support/TempDir.h"
#include "support/TestDatabase.h"

namespace folvane::test {

// The prompt list over a fresh seed database, posting to the Qt event loop.
// The seed holds eight prompts, ids 1 to 8 in that order: "Summarize",
// "Key points", "Explain simply", "Find the numbers", "Critical review",
// "Action items", "Glossary", "Quiz me".
struct PromptTestLibrary {
    TempDir dir;
    std::shared_ptr<SqliteConnection> db = makeDatabase(dir / "db.sqlite3");
    AppPreferences preferences;
    AppChatService service{db, preferences};
    QtMainQueue queue;
    PromptListViewModel list{service, queue};

    // Sends the input and waits until its change has reached the state.
    bool send(PromptListInput input) {
        list.trigger(std::move(input));
        return settle();
    }
    bool settle() {
        return QTest::qWaitFor([this] { return !list.isWorking(); }, 10000);
    }
    std::vector<int64_t> listedIds() const {
        std::vector<int64_t> ids;
        for (const auto& prompt : list.state().allPrompts) ids.push_back(prompt.id);
        return ids;
    }
    // Every store write fails with "The prompt is locked" when WHEN matches.
    void refuse(const std::string& when) {
        db->execute("CREATE TRIGGER refuse " + when +
                    " BEGIN SELECT RAISE(ABORT, 'The prompt is locked'); END");
    }
};

// Tabs from the first control through the window and returns what took the
// focus, each once, in order.
inline QList<QWidget*> tabChain(QWidget* window, QWidget* first) {
    QList<QWidget*> reached;
    first->setFocus(Qt::TabFocusReason);
    for (int i = 0; i < 40; ++i) {
        QWidget* focused = QApplication::focusWidget();
        if (!focused || reached.contains(focused)) break;
        reached.push_back(focused);
        QTest::keyClick(window, Qt::Key_Tab);
    }
    return reached;
}

// Every visible, enabled control of the window that takes the Tab focus has
// a name for assistive technology, and Tab reaches it.
inline void checkNamedAndReachable(QWidget* window, QWidget* first) {
    const QList<QWidget*> reached = tabChain(window, first);
    for (QWidget* control : window->findChildren<QWidget*>()) {
        if (!control->isVisible() || !control->isEnabled() ||
            !(control->focusPolicy() & Qt::TabFocus) || control->focusProxy())
            continue;
        const QString what = QString::fromLatin1(control->metaObject()->className()) + " " +
                             control->accessibleName();
        QVERIFY2(!control->accessibleName().isEmpty(), qPrintable(what + " has no name"));
        QVERIFY2(reached.contains(control), qPrintable(what + " is not reached by Tab"));
    }
}

}  // namespace folvane::test
