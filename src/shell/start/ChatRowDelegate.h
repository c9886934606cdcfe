#pragma once

#include <QStyledItemDelegate>

namespace folvane {

// Draws a chat's row in two lines: its title, and below it, smaller and
// dimmer, the line of its documents, messages and model (the item's
// ChatRowDelegate::detailRole). Editing in place edits the title only, in a
// field named "Title".
class ChatRowDelegate final : public QStyledItemDelegate {
    Q_OBJECT
  public:
    static constexpr int detailRole = Qt::UserRole + 1;

    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void destroyEditor(QWidget* editor, const QModelIndex& index) const override;
    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const override;

    // A title is being renamed.
    bool isEditing() const { return editing_; }

  private:
    mutable bool editing_ = false;
};

}  // namespace folvane
