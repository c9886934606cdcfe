#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QTableView>
#include <QtTest>
#include <memory>

#include "prompts/PromptTestLibrary.h"
#include "shell/prompts/PromptFormDialog.h"
#include "shell/prompts/PromptTableModel.h"
#include "shell/prompts/PromptsTab.h"

using namespace folvane;

namespace input = prompt_list_input;
using Ids = QList<qlonglong>;

namespace {

Ids shownIds(const PromptTableModel& model) {
    Ids ids;
    for (int row = 0; row < model.rowCount(); ++row) ids.push_back(model.prompt(row).id);
    return ids;
}

Ids toIds(const std::vector<int64_t>& ids) {
    return Ids(ids.begin(), ids.end());
}

// The tab over a synced list, shown in a window of its own.
struct ShownTab {
    test::PromptTestLibrary library;
    std::unique_ptr<PromptsTab> tab;
    bool active = false;

    ShownTab() {
        tab = std::make_unique<PromptsTab>(library.list);
        library.settle();
        tab->resize(720, 480);
        tab->show();
        tab->activateWindow();
        active = QTest::qWaitForWindowActive(tab.get());
    }
    PromptTableModel& model() { return *tab->model(); }
    int rowOf(int64_t id) { return model().rowOf(id); }
    void select(std::set<int64_t> ids) { tab->selectIds(ids); }
    Prompt stored(int64_t id) { return library.service.getPrompt(id).value(); }
    QAction* menuAction(const QString& text) {
        for (auto* action : tab->rowMenu()->actions()) {
            if (action->text() == text) return action;
        }
        return nullptr;
    }
};

}  // namespace

class PromptsTabTest : public QObject {
    Q_OBJECT
  private slots:
    void theSwitchShowsOrHidesARowAndTheRowStays() {
        ShownTab shown;
        QCOMPARE(shownIds(shown.model()), Ids({1, 2, 3, 4, 5, 6, 7, 8}));
        const auto check = [&](int64_t id) {
            return shown.model()
                .index(shown.rowOf(id), PromptTableModel::enableColumn)
                .data(Qt::CheckStateRole)
                .value<Qt::CheckState>();
        };

        // Space on any cell of the current row, and a click on the switch.
        shown.tab->table()->setCurrentIndex(shown.model().index(shown.rowOf(2), 0));
        QTest::keyClick(shown.tab->table(), Qt::Key_Space);
        QVERIFY(shown.library.settle());
        QCOMPARE(check(2), Qt::Unchecked);
        QVERIFY(!shown.stored(2).enable);
        QCOMPARE(shown.stored(2).name, std::string("Key points"));  // the rest is kept
        QCOMPARE(shownIds(shown.model()), Ids({1, 2, 3, 4, 5, 6, 7, 8}));

        shown.model().setData(shown.model().index(shown.rowOf(2), PromptTableModel::enableColumn),
                              Qt::Checked, Qt::CheckStateRole);
        QVERIFY(shown.library.settle());
        QCOMPARE(check(2), Qt::Checked);
        QVERIFY(shown.stored(2).enable);

        // A refused write leaves the switch and shows the store's words.
        shown.library.refuse("BEFORE UPDATE ON prompts");
        QTest::keyClick(shown.tab->table(), Qt::Key_Space);
        QVERIFY(shown.library.settle());
        QCOMPARE(check(2), Qt::Checked);
        QVERIFY(shown.tab->alert()->isVisible());
        QVERIFY(shown.tab->alert()->text().contains("The prompt is locked"));
    }

    void headerClicksSortAndTheThirdGoesBackToTheListOrder_data() {
        QTest::addColumn<int>("column");
        QTest::addColumn<int>("clicks");
        QTest::addColumn<Ids>("order");
        QTest::newRow("name, A to Z") << 0 << 1 << Ids{6, 5, 3, 4, 7, 2, 8, 1};
        QTest::newRow("name, Z to A") << 0 << 2 << Ids{1, 8, 2, 7, 4, 3, 5, 6};
        QTest::newRow("name, cleared") << 0 << 3 << Ids{1, 2, 3, 4, 5, 6, 7, 8};
        QTest::newRow("content, A to Z") << 1 << 1 << Ids{3, 6, 4, 2, 7, 5, 1, 8};
        // Off before on; equal rows keep the list order.
        QTest::newRow("switch, off first") << 2 << 1 << Ids{3, 6, 1, 2, 4, 5, 7, 8};
    }
    void headerClicksSortAndTheThirdGoesBackToTheListOrder() {
        QFETCH(int, column);
        QFETCH(int, clicks);
        QFETCH(Ids, order);
        ShownTab shown;
        QVERIFY(shown.library.send(input::UpdatePromptEnable{6, false}));
        QVERIFY(shown.library.send(input::UpdatePromptEnable{3, false}));
        auto* header = shown.tab->table()->horizontalHeader();
        const QPoint middle(header->sectionViewportPosition(column) + 20, header->height() / 2);
        for (int i = 0; i < clicks; ++i)
            QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, middle);
        QCOMPARE(shownIds(shown.model()), order);
        // A change of the list keeps the sort.
        QVERIFY(shown.library.send(input::UpdatePromptEnable{8, true}));
        QCOMPARE(shownIds(shown.model()), order);
    }

    void editAndDuplicateTheSelectedRow() {
        ShownTab shown;
        QVERIFY(shown.active);
        shown.select({3});
        shown.tab->table()->setFocus();
        QTest::keyClick(shown.tab->table(), Qt::Key_E, Qt::ControlModifier);
        auto* form = shown.tab->findChild<PromptFormDialog*>();
        QVERIFY(form);
        QCOMPARE(form->windowTitle(), QString("Prompt Details"));
        QCOMPARE(form->labelField()->text(), QString("Explain simply"));
        QCOMPARE(form->confirmButton()->text(), QString("Save"));
        form->labelField()->setText("Explain to a child");
        form->contentField()->setPlainText("Explain it\nwith one example.");
        QTest::mouseClick(form->confirmButton(), Qt::LeftButton);
        QVERIFY(shown.library.settle());
        QCOMPARE(shown.stored(3).name, std::string("Explain to a child"));
        QCOMPARE(shown.stored(3).prompt, std::string("Explain it\nwith one example."));
        const int row = shown.rowOf(3);
        QCOMPARE(shown.model().index(row, 0).data().toString(), QString("Explain to a child"));
        QCOMPARE(shown.model().index(row, 1).data().toString(),
                 QString("Explain it with one example."));
        QCOMPARE(shown.tab->selectedIds(), std::set<int64_t>{3});  // kept across the reload

        shown.menuAction("Duplicate")->trigger();
        QCOMPARE(shown.model().rowCount(), 9);
        const Prompt copy = shown.model().prompt(8);
        QVERIFY(copy.id > 8);
        QCOMPARE(copy.name, std::string("Explain to a child"));
        QCOMPARE(shown.stored(copy.id).sortOrder, 0);  // until a drag numbers the rows

        // Edit and Duplicate are for one row.
        shown.select({1, 2});
        QVERIFY(!shown.tab->editButton()->isEnabled());
        QVERIFY(!shown.menuAction("Duplicate")->isEnabled());
        QVERIFY(!shown.tab->editSelected());
    }

    void theAddFormStoresOrStaysOpenWithTheWords_data() {
        QTest::addColumn<bool>("refused");
        QTest::newRow("stored") << false;
        QTest::newRow("refused") << true;
    }
    void theAddFormStoresOrStaysOpenWithTheWords() {
        QFETCH(bool, refused);
        ShownTab shown;
        if (refused) shown.library.refuse("BEFORE INSERT ON prompts");
        QTest::mouseClick(shown.tab->addButton(), Qt::LeftButton);
        // The form goes when it closes.
        QPointer<PromptFormDialog> form = shown.tab->findChild<PromptFormDialog*>();
        QVERIFY(form && form->isVisible());
        QCOMPARE(form->contentField()->placeholderText(), QString("Summarize this PDF..."));
        QCOMPARE(form->confirmButton()->text(), QString("Add Prompt"));
        QCOMPARE(form->cancelButton()->text(), QString("Cancel"));
        QTest::keyClicks(form->labelField(), "Translate");
        QTest::keyClicks(form->contentField(), "Translate this PDF into French.");
        QTest::mouseClick(form->confirmButton(), Qt::LeftButton);
        QVERIFY(shown.library.settle());

        QCOMPARE(!form.isNull() && form->isVisible(), refused);
        QCOMPARE(shown.model().rowCount(), refused ? 8 : 9);
        if (refused) {
            QVERIFY(form->errorMessage().contains("The prompt is locked"));
            QCOMPARE(form->labelField()->text(), QString("Translate"));  // nothing typed is lost
            return;
        }
        const Prompt added = shown.model().prompt(8);
        QCOMPARE(added.name, std::string("Translate"));
        QCOMPARE(added.prompt, std::string("Translate this PDF into French."));
        QVERIFY(added.enable);
        QCOMPARE(shown.stored(added.id).sortOrder, 0);
    }

    void deleteAsksFirst_data() {
        QTest::addColumn<Ids>("selected");
        QTest::addColumn<bool>("confirm");
        QTest::addColumn<QString>("question");
        QTest::addColumn<Ids>("left");
        QTest::newRow("one") << Ids{4} << true << "Are you sure you want to delete this prompt?"
                             << Ids{1, 2, 3, 5, 6, 7, 8};
        QTest::newRow("several") << Ids{2, 5, 7} << true << "Delete 3 records"
                                 << Ids{1, 3, 4, 6, 8};
        QTest::newRow("cancelled")
            << Ids{1, 2} << false << "Delete 2 records" << Ids{1, 2, 3, 4, 5, 6, 7, 8};
    }
    void deleteAsksFirst() {
        QFETCH(Ids, selected);
        QFETCH(bool, confirm);
        QFETCH(QString, question);
        QFETCH(Ids, left);
        ShownTab shown;
        shown.select(std::set<int64_t>(selected.begin(), selected.end()));
        QTest::mouseClick(shown.tab->deleteButton(), Qt::LeftButton);
        auto* box = shown.tab->findChild<QMessageBox*>();
        QVERIFY(box && box->isVisible());
        QCOMPARE(box->text(), question);
        QAbstractButton* answer = nullptr;
        for (auto* button : box->buttons()) {
            if (button->text() == (confirm ? "Delete" : "Cancel")) answer = button;
        }
        QVERIFY(answer);
        answer->click();
        QVERIFY(shown.library.settle());
        QCOMPARE(shownIds(shown.model()), left);
        QCOMPARE(toIds(shown.library.listedIds()), left);
        // The others keep their numbers.
        for (const qlonglong id : left) QCOMPARE(shown.stored(id).sortOrder, int(id - 1));
    }

    void aDroppedRowMovesAndEveryRowIsNumbered_data() {
        QTest::addColumn<bool>("sortedByName");
        QTest::addColumn<qlonglong>("dragged");
        QTest::addColumn<int>("row");
        QTest::addColumn<bool>("ontoRow");
        QTest::addColumn<Ids>("order");
        QTest::newRow("down, between rows")
            << false << 1LL << 3 << false << Ids{2, 3, 1, 4, 5, 6, 7, 8};
        QTest::newRow("down, onto a row")
            << false << 1LL << 4 << true << Ids{2, 3, 4, 5, 1, 6, 7, 8};
        QTest::newRow("up, to the top")
            << false << 8LL << 0 << false << Ids{8, 1, 2, 3, 4, 5, 6, 7};
        QTest::newRow("past the end") << false << 2LL << -1 << false << Ids{1, 3, 4, 5, 6, 7, 8, 2};
        // Sorted, "Action items" (6) is the first row: before it in the list.
        QTest::newRow("sorted, before a row")
            << true << 8LL << 0 << false << Ids{1, 2, 3, 4, 5, 8, 6, 7};
    }
    void aDroppedRowMovesAndEveryRowIsNumbered() {
        QFETCH(bool, sortedByName);
        QFETCH(qlonglong, dragged);
        QFETCH(int, row);
        QFETCH(bool, ontoRow);
        QFETCH(Ids, order);
        ShownTab shown;
        if (sortedByName) shown.tab->table()->sortByColumn(0, Qt::AscendingOrder);
        auto& model = shown.model();
        std::unique_ptr<QMimeData> data(model.mimeData({model.index(shown.rowOf(dragged), 0)}));
        const QModelIndex parent = ontoRow ? model.index(row, 0) : QModelIndex();
        QVERIFY(model.dropMimeData(data.get(), Qt::MoveAction, ontoRow ? -1 : row, 0, parent));
        QVERIFY(shown.library.settle());

        QCOMPARE(shownIds(model), order);  // a sorted table shows the list's order again
        QVERIFY(!model.sortKey());
        QCOMPARE(shown.tab->table()->horizontalHeader()->sortIndicatorSection(), -1);
        for (int i = 0; i < order.size(); ++i) QCOMPARE(shown.stored(order[i]).sortOrder, i);
    }

    void aDropInPlaceOrOfSomethingElseDoesNothing() {
        ShownTab shown;
        auto& model = shown.model();
        std::unique_ptr<QMimeData> own(model.mimeData({model.index(2, 0)}));
        QVERIFY(!model.dropMimeData(own.get(), Qt::MoveAction, 2, 0, {}));
        QVERIFY(!model.dropMimeData(own.get(), Qt::MoveAction, 3, 0, {}));
        QMimeData text;
        text.setText("Summarize");
        QVERIFY(!model.dropMimeData(&text, Qt::MoveAction, 0, 0, {}));
        QMimeData broken;
        broken.setData("co.tessavel.Folvane.prompt", "{\"name\": 3}");
        QVERIFY(!model.dropMimeData(&broken, Qt::MoveAction, 0, 0, {}));
        QVERIFY(!shown.library.list.isWorking());
        QCOMPARE(shownIds(model), Ids({1, 2, 3, 4, 5, 6, 7, 8}));
    }

    void everyControlIsNamedAndReachedByTab() {
        ShownTab shown;
        QVERIFY(shown.active);
        shown.select({2});
        test::checkNamedAndReachable(shown.tab.get(), shown.tab->table());
        // The switch cells say what they switch.
        QCOMPARE(shown.model()
                     .index(0, PromptTableModel::enableColumn)
                     .data(Qt::AccessibleTextRole)
                     .toString(),
                 QString("Show Summarize in the prompt library"));

        QPointer<PromptFormDialog> form = shown.tab->editSelected();
        // The offscreen platform leaves a sheet's parent active until told.
        QApplication::setActiveWindow(form);
        QVERIFY(QTest::qWaitForWindowActive(form));
        test::checkNamedAndReachable(form, form->labelField());
        QTest::keyClick(form, Qt::Key_Escape);
        QTRY_VERIFY(form.isNull() || !form->isVisible());
    }
};

QTEST_MAIN(PromptsTabTest)
#include "PromptsTabTest.moc"
