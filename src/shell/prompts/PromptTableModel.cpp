#include "shell/prompts/PromptTableModel.h"

#include <QMimeData>

#include "conversation/PromptDragPayload.h"
#include "conversation/PromptListViewModel.h"
#include "platform/Log.h"
#include "shell/prompts/PromptMime.h"

namespace folvane {

namespace input = prompt_list_input;

namespace {

// The content on one line: the table shows the start of it.
QString oneLine(const std::string& text) {
    return QString::fromStdString(text).simplified();
}

std::optional<PromptSortKey> keyOfColumn(int column) {
    switch (column) {
        case PromptTableModel::nameColumn:
            return PromptSortKey::name;
        case PromptTableModel::contentColumn:
            return PromptSortKey::prompt;
        case PromptTableModel::enableColumn:
            return PromptSortKey::enable;
        default:
            return std::nullopt;
    }
}

}  // namespace

PromptTableModel::PromptTableModel(PromptListViewModel& list, QObject* parent)
    : QAbstractTableModel(parent), list_(list) {
    subscription_ = list_.subscribe([this] { reload(); });
    rows_ = list_.state().allPrompts;
}

void PromptTableModel::reload() {
    beginResetModel();
    rows_ = list_.state().allPrompts;
    if (sortKey_) sortPrompts(rows_, *sortKey_, ascending_);
    endResetModel();
}

int PromptTableModel::rowOf(int64_t id) const {
    for (size_t row = 0; row < rows_.size(); ++row) {
        if (rows_[row].id == id) return int(row);
    }
    return -1;
}

int PromptTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(rows_.size());
}

int PromptTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columnCount_;
}

QVariant PromptTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= int(rows_.size())) return {};
    const Prompt& row = rows_[size_t(index.row())];
    const QString name = QString::fromStdString(row.name);
    switch (index.column()) {
        case nameColumn:
            if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole) return name;
            if (role == Qt::ToolTipRole) return name;
            break;
        case contentColumn:
            if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole)
                return oneLine(row.prompt);
            if (role == Qt::ToolTipRole) return QString::fromStdString(row.prompt);
            break;
        case enableColumn:
            if (role == Qt::CheckStateRole) return row.enable ? Qt::Checked : Qt::Unchecked;
            if (role == Qt::AccessibleTextRole || role == Qt::ToolTipRole)
                return QStringLiteral("Show %1 in the prompt library").arg(name);
            break;
        default:
            break;
    }
    return {};
}

QVariant PromptTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal)
        return QAbstractTableModel::headerData(section, orientation, role);
    // A first click sorts A to Z (and switches off first); the header's own
    // first order would be Z to A.
    if (role == Qt::InitialSortOrderRole) return Qt::AscendingOrder;
    if (role != Qt::DisplayRole) return QAbstractTableModel::headerData(section, orientation, role);
    switch (section) {
        case nameColumn:
            return QStringLiteral("Name");
        case contentColumn:
            return QStringLiteral("Content");
        case enableColumn:
            return QStringLiteral("Enabled");
        default:
            return {};
    }
}

Qt::ItemFlags PromptTableModel::flags(const QModelIndex& index) const {
    // Between rows a dragged row may land; onto a row too (it takes that place).
    if (!index.isValid()) return Qt::ItemIsDropEnabled;
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled |
                          Qt::ItemIsDropEnabled | Qt::ItemNeverHasChildren;
    if (index.column() == enableColumn) flags |= Qt::ItemIsUserCheckable;
    return flags;
}

bool PromptTableModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || index.column() != enableColumn || role != Qt::CheckStateRole)
        return false;
    const Prompt& row = rows_[size_t(index.row())];
    const bool enable = value.value<Qt::CheckState>() == Qt::Checked;
    if (enable == row.enable) return false;
    // The switch shows the change once the list has stored it.
    list_.trigger(input::UpdatePromptEnable{row.id, enable});
    return true;
}

void PromptTableModel::sort(int column, Qt::SortOrder order) {
    sortKey_ = keyOfColumn(column);
    ascending_ = order == Qt::AscendingOrder;
    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const QModelIndexList before = persistentIndexList();
    std::vector<int64_t> ids;
    for (const auto& index : before) ids.push_back(rows_[size_t(index.row())].id);
    rows_ = list_.state().allPrompts;
    if (sortKey_) sortPrompts(rows_, *sortKey_, ascending_);
    QModelIndexList after;
    for (size_t i = 0; i < ids.size(); ++i) {
        const int row = rowOf(ids[i]);
        after.push_back(row < 0 ? QModelIndex() : index(row, before[qsizetype(i)].column()));
    }
    changePersistentIndexList(before, after);
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

Qt::DropActions PromptTableModel::supportedDragActions() const {
    return Qt::MoveAction | Qt::CopyAction;
}

Qt::DropActions PromptTableModel::supportedDropActions() const {
    return Qt::MoveAction;
}

QStringList PromptTableModel::mimeTypes() const {
    return {promptMimeType()};
}

QMimeData* PromptTableModel::mimeData(const QModelIndexList& indexes) const {
    for (const auto& index : indexes) {
        if (index.isValid()) return makePromptMimeData(rows_[size_t(index.row())]);
    }
    return nullptr;
}

bool PromptTableModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int,
                                    const QModelIndex& parent) {
    if (action != Qt::MoveAction || !hasPrompt(data)) return false;
    std::optional<Prompt> dropped;
    try {
        dropped = promptFromMimeData(data);
    } catch (const PromptPayloadError& error) {
        // Not one of ours after all: the drop is refused, the rows stay.
        log(error.what());
        return false;
    }
    const auto& all = list_.state().allPrompts;
    const auto listIndex = [&all](int64_t id) {
        for (size_t i = 0; i < all.size(); ++i) {
            if (all[i].id == id) return int(i);
        }
        return -1;
    };
    const int from = listIndex(dropped->id);
    if (from < 0) return false;
    // Onto a row: that row's place. Before a row: the place of its prompt in
    // the list. Past the last row: the end.
    const int target = parent.isValid() ? parent.row() : row;
    int to = target < 0 || target >= int(rows_.size()) ? int(all.size())
                                                       : listIndex(rows_[size_t(target)].id);
    if (!parent.isValid() && to > from) --to;  // the row leaves its place first
    if (sortKey_) sort(-1, Qt::AscendingOrder);
    if (to == from) return false;
    list_.trigger(input::UpdatePromptSortOrder{dropped->id, to});
    return true;
}

}  // namespace folvane
