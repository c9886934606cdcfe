#pragma once

#include <QAbstractListModel>
#include <QStyledItemDelegate>
#include <vector>

#include "store/Prompt.h"

namespace folvane {

// The rows of the prompt picker: the prompts it shows, in order, the first
// nine with the key that picks them. A row drags as its prompt.
class PromptPickerModel final : public QAbstractListModel {
    Q_OBJECT
  public:
    enum Role { contentRole = Qt::UserRole + 1, shortcutRole };
    // Rows that have a key of their own: Ctrl+1 to Ctrl+9.
    static constexpr int shortcutRows = 9;

    using QAbstractListModel::QAbstractListModel;

    void setPrompts(std::vector<Prompt> prompts);
    const std::vector<Prompt>& prompts() const { return prompts_; }
    // "Ctrl+1" for the first row; empty past the rows with a key.
    static QString shortcutText(int row);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDragActions() const override;

  private:
    std::vector<Prompt> prompts_;
};

// A picker row: the name, under it the start of the text, and the row's key
// on the right.
class PromptPickerDelegate final : public QStyledItemDelegate {
    Q_OBJECT
  public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

}  // namespace folvane
