#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QToolButton>
#include <QVBoxLayout>
#include <QtTest>
#include <memory>

#include "conversation/PromptDragPayload.h"
#include "prompts/PromptTestLibrary.h"
#include "shell/chat/ComposeBox.h"
#include "shell/prompts/PromptLibraryButton.h"
#include "shell/prompts/PromptMime.h"
#include "shell/prompts/PromptPickerModel.h"
#include "shell/prompts/PromptPickerPopup.h"
#include "support/RecordingChat.h"

using namespace folvane;

namespace input = prompt_list_input;
using Ids = QList<qlonglong>;

namespace {

// A message box in a window of its own, with the prompt library beside it.
struct ShownBox {
    test::PromptTestLibrary library;
    test::RecordingChatRef chat;
    QWidget window;
    ComposeBox* box;
    bool active = false;

    ShownBox() {
        auto* layout = new QVBoxLayout(&window);
        box = new ComposeBox(chat.ref, library.preferences, &window);
        box->setPromptLibrary(library.list);
        layout->addWidget(box);
        window.resize(600, 200);
        window.show();
        active = QTest::qWaitForWindowActive(&window);
    }
    PromptPickerPopup* picker() { return box->promptButton()->picker(); }
    // Opens the picker with its key and waits for the list to show.
    bool openPicker() {
        box->textEdit()->setFocus();
        QTest::keyClick(box->textEdit(), Qt::Key_P, Qt::ControlModifier | Qt::ShiftModifier);
        return active &&
               QTest::qWaitFor([this] { return !picker()->displayingItems().empty(); }, 10000) &&
               picker()->isVisible() && QApplication::focusWidget() == picker()->searchField();
    }
    Ids displayedIds() {
        Ids ids;
        for (const auto& prompt : picker()->displayingItems()) ids.push_back(prompt.id);
        return ids;
    }
};

std::string seedContent(test::PromptTestLibrary& library, int64_t id) {
    return library.service.getPrompt(id).value().prompt;
}

}  // namespace

class PromptPickerTest : public QObject {
    Q_OBJECT
  private slots:
    void typingKeepsTheEnabledMatchesInListOrder_data() {
        QTest::addColumn<Ids>("disabled");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<Ids>("shown");
        QTest::newRow("nothing typed") << Ids{3} << "" << Ids{1, 2, 4, 5, 6, 7, 8};
        // "Action items" aligns best, yet stays in its place.
        QTest::newRow("letters apart") << Ids{} << "ai" << Ids{1, 3, 5, 6};
        QTest::newRow("a disabled match") << Ids{5} << "ai" << Ids{1, 3, 6};
        QTest::newRow("any case") << Ids{} << "QUIZ" << Ids{8};
        QTest::newRow("no match") << Ids{} << "zzz" << Ids{};
    }
    void typingKeepsTheEnabledMatchesInListOrder() {
        QFETCH(Ids, disabled);
        QFETCH(QString, typed);
        QFETCH(Ids, shown);
        ShownBox shownBox;
        QVERIFY(shownBox.library.send(input::Sync{}));
        for (const qlonglong id : disabled)
            QVERIFY(shownBox.library.send(input::UpdatePromptEnable{id, false}));
        QVERIFY(shownBox.openPicker());
        QTest::keyClicks(shownBox.picker()->searchField(), typed);
        QTRY_COMPARE(shownBox.displayedIds(), shown);
        const auto* empty = shownBox.picker()->findChild<QLabel*>("noPrompts");
        QCOMPARE(empty->isVisible(), shown.isEmpty());
        // The first row shown is the one Return picks.
        if (!shown.isEmpty()) QCOMPARE(*shownBox.picker()->selectedItemId(), shown.first());
    }

    void keysPickAPromptOrLeaveTheBoxAsItWas_data() {
        QTest::addColumn<QString>("typed");  // each typed text leaves one match or none
        QTest::addColumn<QTestEventList>("keys");
        QTest::addColumn<qlonglong>("picked");  // 0: none, the box keeps its text
        QTest::addColumn<bool>("stillOpen");
        const auto keys = [](std::initializer_list<Qt::Key> list,
                             Qt::KeyboardModifiers modifiers = {}) {
            QTestEventList events;
            for (const Qt::Key key : list) events.addKeyClick(key, modifiers);
            return events;
        };
        QTest::newRow("Return: the first") << "" << keys({Qt::Key_Return}) << 1LL << false;
        QTest::newRow("down twice, Enter")
            << "" << keys({Qt::Key_Down, Qt::Key_Down, Qt::Key_Enter}) << 3LL << false;
        QTest::newRow("up stops at the top")
            << "" << keys({Qt::Key_Down, Qt::Key_Up, Qt::Key_Up, Qt::Key_Return}) << 1LL << false;
        QTest::newRow("Ctrl+4: the fourth row")
            << "" << keys({Qt::Key_4}, Qt::ControlModifier) << 4LL << false;
        QTest::newRow("typed, then Return") << "glos" << keys({Qt::Key_Return}) << 7LL << false;
        QTest::newRow("Return with no match") << "zzz" << keys({Qt::Key_Return}) << 0LL << true;
        QTest::newRow("Escape") << "" << keys({Qt::Key_Down, Qt::Key_Escape}) << 0LL << false;
    }
    void keysPickAPromptOrLeaveTheBoxAsItWas() {
        QFETCH(QString, typed);
        QFETCH(QTestEventList, keys);
        QFETCH(qlonglong, picked);
        QFETCH(bool, stillOpen);
        ShownBox shownBox;
        shownBox.box->textEdit()->setPlainText("my draft");
        QVERIFY(shownBox.openPicker());
        if (!typed.isEmpty()) {
            QTest::keyClicks(shownBox.picker()->searchField(), typed);
            QTRY_VERIFY(shownBox.picker()->displayingItems().size() <= 1);
        }
        keys.simulate(shownBox.picker()->searchField());
        QTRY_COMPARE(shownBox.picker()->isVisible(), stillOpen);
        auto* text = shownBox.box->textEdit();
        if (!picked) {
            QCOMPARE(text->toPlainText(), QString("my draft"));
            return;
        }
        QCOMPARE(text->toPlainText().toStdString(), seedContent(shownBox.library, picked));
        QTRY_COMPARE(QApplication::focusWidget(), text);
        // The prompt took the place of the draft in one step that Ctrl+Z undoes.
        text->undo();
        QCOMPARE(text->toPlainText(), QString("my draft"));
    }

    void theFirstNineRowsShowTheirKeys() {
        ShownBox shownBox;
        QVERIFY(shownBox.library.send(input::Sync{}));
        shownBox.library.list.addPrompt("Ninth", "9");
        shownBox.library.list.addPrompt("Tenth", "10");
        QVERIFY(shownBox.openPicker());
        QTRY_COMPARE(shownBox.picker()->displayingItems().size(), size_t(10));
        auto* model = shownBox.picker()->listView()->model();
        QCOMPARE(model->index(0, 0).data(PromptPickerModel::shortcutRole).toString(),
                 QString("Ctrl+1"));
        QCOMPARE(model->index(8, 0).data(PromptPickerModel::shortcutRole).toString(),
                 QString("Ctrl+9"));
        QVERIFY(model->index(9, 0).data(PromptPickerModel::shortcutRole).toString().isEmpty());
        QCOMPARE(model->index(0, 0).data(Qt::AccessibleTextRole).toString(),
                 QString("Summarize, Ctrl+1"));
    }

    void aDraggedPromptTravelsAsItsRecordAndFillsTheBox() {
        Prompt prompt;
        prompt.id = 42;
        prompt.name = "Zitate «prüfen»";
        prompt.prompt = "Check every \"quote\"\nagainst its page.";
        prompt.enable = false;
        prompt.sortOrder = 7;
        std::unique_ptr<QMimeData> data(makePromptMimeData(prompt));
        QVERIFY(data->formats().contains("co.tessavel.Folvane.prompt"));
        QCOMPARE(data->text().toStdString(), prompt.prompt);
        QCOMPARE(promptFromMimeData(data.get()), std::optional<Prompt>(prompt));

        QMimeData plain;
        plain.setText("just text");
        QVERIFY(!promptFromMimeData(&plain));
        QMimeData broken;
        broken.setData("co.tessavel.Folvane.prompt", "[1, 2]");
        QVERIFY_THROWS_EXCEPTION(PromptPayloadError, promptFromMimeData(&broken));

        // Dropped on the box, a prompt replaces the draft; a broken one leaves it.
        ShownBox shownBox;
        auto* text = shownBox.box->textEdit();
        const auto drop = [text](const QMimeData* dropped) {
            const QPoint at = text->viewport()->rect().center();
            QDragEnterEvent enter(at, Qt::CopyAction | Qt::MoveAction, dropped, Qt::LeftButton, {});
            QApplication::sendEvent(text->viewport(), &enter);
            QDropEvent event(at, Qt::CopyAction | Qt::MoveAction, dropped, Qt::LeftButton, {});
            QApplication::sendEvent(text->viewport(), &event);
            return enter.isAccepted();
        };
        text->setPlainText("my draft");
        QVERIFY(drop(&broken));
        QCOMPARE(text->toPlainText(), QString("my draft"));
        QVERIFY(drop(data.get()));
        QCOMPARE(text->toPlainText().toStdString(), prompt.prompt);

        // A row of the picker drags as its prompt.
        QVERIFY(shownBox.openPicker());
        auto* model = shownBox.picker()->listView()->model();
        std::unique_ptr<QMimeData> row(model->mimeData({model->index(1, 0)}));
        QCOMPARE(promptFromMimeData(row.get())->id, 2);
        QCOMPARE(row->text().toStdString(), seedContent(shownBox.library, 2));
    }

    void theButtonAndThePickerAreNamedAndReachedByTab() {
        ShownBox shownBox;
        QVERIFY(shownBox.active);
        auto* button = shownBox.box->promptButton();
        QCOMPARE(button->accessibleName(), QString("Prompt Library (Ctrl+Shift+P)"));
        QCOMPARE(button->toolTip(), QString("Prompt Library (Ctrl+Shift+P)"));
        test::checkNamedAndReachable(&shownBox.window, shownBox.box->textEdit());
        // Right after the documents button, right before the box.
        const auto chain = test::tabChain(&shownBox.window, shownBox.box->textEdit());
        const auto at = chain.indexOf(button);
        QVERIFY(at > 0);
        QCOMPARE(chain[at - 1]->accessibleName(), QString("Add Documents"));
        QCOMPARE(chain[(at + 1) % chain.size()], shownBox.box->textEdit());

        QTest::mouseClick(button, Qt::LeftButton);
        QTRY_VERIFY(!shownBox.picker()->displayingItems().empty());
        QVERIFY(QTest::qWaitForWindowActive(shownBox.picker()));
        test::checkNamedAndReachable(shownBox.picker(), shownBox.picker()->searchField());
    }
};

QTEST_MAIN(PromptPickerTest)
#include "PromptPickerTest.moc"
