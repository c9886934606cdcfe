#include "shell/prompts/PromptPickerModel.h"

#include <QApplication>
#include <QPainter>

#include "shell/prompts/PromptMime.h"

namespace folvane {

void PromptPickerModel::setPrompts(std::vector<Prompt> prompts) {
    beginResetModel();
    prompts_ = std::move(prompts);
    endResetModel();
}

QString PromptPickerModel::shortcutText(int row) {
    if (row < 0 || row >= shortcutRows) return {};
    return QStringLiteral("Ctrl+%1").arg(row + 1);
}

int PromptPickerModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(prompts_.size());
}

QVariant PromptPickerModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= int(prompts_.size())) return {};
    const Prompt& prompt = prompts_[size_t(index.row())];
    switch (role) {
        case Qt::DisplayRole:
            return QString::fromStdString(prompt.name);
        case Qt::AccessibleTextRole: {
            const QString key = shortcutText(index.row());
            const QString name = QString::fromStdString(prompt.name);
            return key.isEmpty() ? name : name + QStringLiteral(", ") + key;
        }
        case Qt::ToolTipRole:
        case contentRole:
            return QString::fromStdString(prompt.prompt);
        case shortcutRole:
            return shortcutText(index.row());
        default:
            return {};
    }
}

Qt::ItemFlags PromptPickerModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled |
           Qt::ItemNeverHasChildren;
}

QStringList PromptPickerModel::mimeTypes() const {
    return {promptMimeType(), QStringLiteral("text/plain")};
}

QMimeData* PromptPickerModel::mimeData(const QModelIndexList& indexes) const {
    for (const auto& index : indexes) {
        if (index.isValid()) return makePromptMimeData(prompts_[size_t(index.row())]);
    }
    return nullptr;
}

Qt::DropActions PromptPickerModel::supportedDragActions() const {
    return Qt::CopyAction;
}

void PromptPickerDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                 const QModelIndex& index) const {
    QStyleOptionViewItem background = option;
    initStyleOption(&background, index);
    background.text.clear();
    const QWidget* widget = option.widget;
    QStyle* style = widget ? widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &background, painter, widget);

    const bool selected = option.state & QStyle::State_Selected;
    const QPalette::ColorGroup group =
        option.state & QStyle::State_Active ? QPalette::Active : QPalette::Inactive;
    const QColor text =
        option.palette.color(group, selected ? QPalette::HighlightedText : QPalette::Text);
    QColor faint = text;
    faint.setAlphaF(0.6f);

    const QRect box = option.rect.adjusted(8, 4, -8, -4);
    painter->save();
    const QString key = index.data(PromptPickerModel::shortcutRole).toString();
    int keyWidth = 0;
    if (!key.isEmpty()) {
        keyWidth = option.fontMetrics.horizontalAdvance(key) + 12;
        painter->setPen(faint);
        painter->drawText(box, Qt::AlignRight | Qt::AlignVCenter, key);
    }
    const QRect textBox = box.adjusted(0, 0, -keyWidth, 0);
    QFont bold = option.font;
    bold.setBold(true);
    const QFontMetrics boldMetrics(bold);
    painter->setFont(bold);
    painter->setPen(text);
    const QString name = index.data(Qt::DisplayRole).toString();
    painter->drawText(textBox.left(), textBox.top() + boldMetrics.ascent(),
                      boldMetrics.elidedText(name, Qt::ElideRight, textBox.width()));
    painter->setFont(option.font);
    painter->setPen(faint);
    const QString content = index.data(PromptPickerModel::contentRole).toString().simplified();
    painter->drawText(textBox.left(),
                      textBox.top() + boldMetrics.height() + 2 + option.fontMetrics.ascent(),
                      option.fontMetrics.elidedText(content, Qt::ElideRight, textBox.width()));
    painter->restore();
}

QSize PromptPickerDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const {
    QFont bold = option.font;
    bold.setBold(true);
    const int height = QFontMetrics(bold).height() + 2 + option.fontMetrics.height() + 8;
    return {240, height};
}

}  // namespace folvane
