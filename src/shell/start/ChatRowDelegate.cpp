#include "shell/start/ChatRowDelegate.h"

#include <QApplication>
#include <QPainter>
#include <algorithm>

namespace folvane {

namespace {

constexpr int margin = 6;

QFont titleFont(const QStyleOptionViewItem& option) {
    QFont font = option.font;
    font.setBold(true);
    return font;
}

QFont detailFont(const QStyleOptionViewItem& option) {
    QFont font = option.font;
    font.setPointSizeF(font.pointSizeF() * 0.9);
    return font;
}

}  // namespace

void ChatRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const {
    QStyleOptionViewItem background = option;
    initStyleOption(&background, index);
    background.text.clear();
    const QWidget* widget = option.widget;
    QStyle* style = widget ? widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &background, painter, widget);

    const bool selected = option.state & QStyle::State_Selected;
    const QPalette::ColorRole role = selected ? QPalette::HighlightedText : QPalette::Text;
    const QRect area = option.rect.adjusted(margin * 2, margin, -margin * 2, -margin);
    const QFont title = titleFont(option);
    const QFont detail = detailFont(option);
    const int titleHeight = QFontMetrics(title).height();

    painter->save();
    painter->setFont(title);
    painter->setPen(option.palette.color(role));
    const QRect titleRect(area.left(), area.top(), area.width(), titleHeight);
    painter->drawText(titleRect, Qt::AlignLeft | Qt::AlignVCenter,
                      QFontMetrics(title).elidedText(index.data(Qt::DisplayRole).toString(),
                                                     Qt::ElideRight, area.width()));
    painter->setFont(detail);
    QColor dim = option.palette.color(role);
    if (!selected) dim.setAlphaF(0.65f);
    painter->setPen(dim);
    const QRect detailRect(area.left(), titleRect.bottom() + 2, area.width(),
                           QFontMetrics(detail).height());
    painter->drawText(detailRect, Qt::AlignLeft | Qt::AlignVCenter,
                      QFontMetrics(detail).elidedText(index.data(detailRole).toString(),
                                                      Qt::ElideRight, area.width()));
    painter->restore();
}

QWidget* ChatRowDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                       const QModelIndex& index) const {
    QWidget* editor = QStyledItemDelegate::createEditor(parent, option, index);
    if (editor) {
        editor->setAccessibleName(QStringLiteral("Title"));
        editing_ = true;
    }
    return editor;
}

void ChatRowDelegate::destroyEditor(QWidget* editor, const QModelIndex& index) const {
    editing_ = false;
    QStyledItemDelegate::destroyEditor(editor, index);
}

void ChatRowDelegate::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                                           const QModelIndex&) const {
    // Over the title's line only: the detail line stays in view.
    const int height =
        std::max(editor->sizeHint().height(), QFontMetrics(titleFont(option)).height());
    editor->setGeometry(option.rect.left() + margin, option.rect.top() + margin / 2,
                        option.rect.width() - margin * 2, height);
}

QSize ChatRowDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const {
    const int height = QFontMetrics(titleFont(option)).height() +
                       QFontMetrics(detailFont(option)).height() + 2 + margin * 2;
    return {option.rect.width(), height};
}

}  // namespace folvane
