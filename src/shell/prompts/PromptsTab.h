#pragma once

#include <QWidget>
#include <cstdint>
#include <set>

#include "runtime/ObserverList.h"

class QLabel;
class QMenu;
class QMessageBox;
class QPushButton;
class QTableView;

namespace folvane {

class PromptFormDialog;
class PromptListViewModel;
class PromptTableModel;

// The settings' Prompts tab: the prompt library as a table of name, content
// and a switch that shows the prompt in the picker. A header click sorts by
// that column (and a third click goes back to the list's order); dragging a
// row moves it. "Edit" (Ctrl+E), "Duplicate" and "Delete..." act on the
// selected rows, from the buttons under the table or the row's menu.
class PromptsTab final : public QWidget {
    Q_OBJECT
  public:
    explicit PromptsTab(PromptListViewModel& list, QWidget* parent = nullptr);
    ~PromptsTab() override;

    QTableView* table() const { return table_; }
    PromptTableModel* model() const { return model_; }
    QLabel* alert() const { return alert_; }
    QPushButton* addButton() const { return add_; }
    QPushButton* editButton() const { return edit_; }
    QPushButton* duplicateButton() const { return duplicate_; }
    QPushButton* deleteButton() const { return delete_; }
    // The row menu of the selected rows.
    QMenu* rowMenu() const { return rowMenu_; }

    // The ids of the selected rows.
    std::set<int64_t> selectedIds() const;
    void selectIds(const std::set<int64_t>& ids);

    // The forms and the question open as window-modal sheets and return at once.
    PromptFormDialog* addPrompt();
    PromptFormDialog* editSelected();
    void duplicateSelected();
    QMessageBox* askToDeleteSelected();

  private:
    void render();
    void renderButtons();

    PromptListViewModel& list_;
    PromptTableModel* model_;
    QLabel* alert_;
    QTableView* table_;
    QPushButton* add_;
    QPushButton* edit_;
    QPushButton* duplicate_;
    QPushButton* delete_;
    QMenu* rowMenu_;
    // The selection across a reload of the rows.
    std::set<int64_t> keptSelection_;
    int64_t keptCurrent_ = 0;
    Subscription subscription_;
};

}  // namespace folvane
