#pragma once

#include <QFrame>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "runtime/ObserverList.h"
#include "store/Prompt.h"

class QLineEdit;
class QListView;

namespace folvane {

class PromptListViewModel;
class PromptPickerModel;
class PromptPickerSearch;
class QtMainQueue;

// The prompt picker: a search field over the enabled prompts in list order,
// narrowed by a fuzzy match of their names as the user types. The arrow keys
// move the selection, Return or a click picks it, Ctrl+1 to Ctrl+9 pick the
// first rows, and Escape closes. A row can be dragged out as its prompt.
class PromptPickerPopup final : public QFrame {
    Q_OBJECT
  public:
    explicit PromptPickerPopup(PromptListViewModel& list, QWidget* parent = nullptr);
    ~PromptPickerPopup() override;

    QLineEdit* searchField() const { return search_; }
    QListView* listView() const { return view_; }
    // The prompts shown, as the last search found them.
    const std::vector<Prompt>& displayingItems() const;
    std::optional<int64_t> selectedItemId() const;

    // Opens over the anchor (above it where the screen has room), with an
    // empty search and the list read again from the store.
    void popUp(QWidget* anchor);
    // Picks the selected prompt; nothing when none is shown.
    void selectCurrent();

  signals:
    void promptChosen(const Prompt& prompt);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void search();
    void showResult(std::vector<Prompt> prompts);
    void moveSelection(int step);
    void choose(int row);

    PromptListViewModel& list_;
    QtMainQueue* queue_;
    std::unique_ptr<PromptPickerSearch> searcher_;
    QLineEdit* search_;
    QListView* view_;
    PromptPickerModel* model_;
    std::optional<int64_t> selectedItemId_;
    Subscription subscription_;
};

}  // namespace folvane
