#pragma once

#include <QAbstractTableModel>
#include <optional>
#include <vector>

#include "conversation/PromptSort.h"
#include "runtime/ObserverList.h"
#include "store/Prompt.h"

namespace folvane {

class PromptListViewModel;

// The rows of the Prompts tab: the prompt list in its order, or sorted by a
// column while the header shows a sort. Ticking a row's switch and dropping a
// dragged row are sent to the list as inputs; the rows follow its state.
class PromptTableModel final : public QAbstractTableModel {
    Q_OBJECT
  public:
    enum Column { nameColumn, contentColumn, enableColumn, columnCount_ };

    explicit PromptTableModel(PromptListViewModel& list, QObject* parent = nullptr);

    const Prompt& prompt(int row) const { return rows_[size_t(row)]; }
    // The row that shows the prompt, or -1.
    int rowOf(int64_t id) const;
    // The column the rows are sorted by; none: the list's order.
    std::optional<PromptSortKey> sortKey() const { return sortKey_; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    // A column of -1 goes back to the list's order.
    void sort(int column, Qt::SortOrder order) override;

    Qt::DropActions supportedDragActions() const override;
    Qt::DropActions supportedDropActions() const override;
    QStringList mimeTypes() const override;
    // The prompt of the first row among the indexes.
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    // A prompt dropped before a row (or at the end) moves there in the list;
    // a drop onto a row puts it in that row's place. A drop while the rows
    // are sorted moves it before that row's prompt in the list, and the rows
    // go back to the list's order so that the move shows.
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

  private:
    void reload();

    PromptListViewModel& list_;
    std::vector<Prompt> rows_;
    std::optional<PromptSortKey> sortKey_;
    bool ascending_ = true;
    Subscription subscription_;
};

}  // namespace folvane
