#include "shell/prompts/PromptsTab.h"

#include <QAction>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QShortcut>
#include <QTableView>
#include <QVBoxLayout>

#include "conversation/PromptListViewModel.h"
#include "shell/prompts/PromptFormDialog.h"
#include "shell/prompts/PromptTableModel.h"

namespace folvane {

namespace input = prompt_list_input;

namespace {

QPushButton* makeButton(const QString& text, const QString& help, QWidget* parent) {
    auto* button = new QPushButton(text, parent);
    button->setAccessibleName(text);
    button->setToolTip(help);
    button->setAutoDefault(false);
    return button;
}

// Space on a row flips its switch, whichever cell of the row is current.
class SpaceTogglesEnable final : public QObject {
  public:
    SpaceTogglesEnable(QTableView* table, PromptTableModel* model)
        : QObject(table), table_(table), model_(model) {}

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::KeyPress) {
            auto* key = static_cast<QKeyEvent*>(event);
            const QModelIndex current = table_->currentIndex();
            if (key->key() == Qt::Key_Space && key->modifiers() == Qt::NoModifier &&
                current.isValid()) {
                const bool enable = model_->prompt(current.row()).enable;
                model_->setData(model_->index(current.row(), PromptTableModel::enableColumn),
                                enable ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
                return true;
            }
        }
        return QObject::eventFilter(watched, event);
    }

  private:
    QTableView* table_;
    PromptTableModel* model_;
};

}  // namespace

PromptsTab::PromptsTab(PromptListViewModel& list, QWidget* parent)
    : QWidget(parent), list_(list), model_(new PromptTableModel(list, this)) {
    setAccessibleName(QStringLiteral("Prompts"));
    auto* layout = new QVBoxLayout(this);

    alert_ = new QLabel(this);
    alert_->setWordWrap(true);
    alert_->setTextFormat(Qt::PlainText);
    alert_->setStyleSheet(QStringLiteral("color: #c62828"));
    alert_->hide();
    layout->addWidget(alert_);

    table_ = new QTableView(this);
    table_->setAccessibleName(QStringLiteral("Prompts"));
    table_->setModel(model_);
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->setWordWrap(false);
    table_->setAlternatingRowColors(true);
    table_->setShowGrid(false);
    table_->verticalHeader()->hide();
    table_->setTabKeyNavigation(false);
    table_->setDragEnabled(true);
    table_->setAcceptDrops(true);
    table_->setDropIndicatorShown(true);
    table_->setDragDropMode(QAbstractItemView::DragDrop);
    table_->setDefaultDropAction(Qt::MoveAction);
    table_->setDragDropOverwriteMode(false);
    auto* header = table_->horizontalHeader();
    header->setSectionResizeMode(PromptTableModel::nameColumn, QHeaderView::Interactive);
    header->setSectionResizeMode(PromptTableModel::contentColumn, QHeaderView::Stretch);
    header->setSectionResizeMode(PromptTableModel::enableColumn, QHeaderView::ResizeToContents);
    header->resizeSection(PromptTableModel::nameColumn, 180);
    header->setHighlightSections(false);
    // No sort at first: the rows stand in the list's order until a header
    // is clicked, and the third click on a header brings that order back.
    header->setSortIndicator(-1, Qt::AscendingOrder);
    header->setSortIndicatorClearable(true);
    table_->setSortingEnabled(true);
    table_->installEventFilter(new SpaceTogglesEnable(table_, model_));
    layout->addWidget(table_, 1);

    auto* hint = new QLabel(
        QStringLiteral("Drag a row to move it. Prompts that are not enabled stay here and do "
                       "not show in the prompt library beside the message box (Ctrl+Shift+P)."),
        this);
    hint->setWordWrap(true);
    hint->setEnabled(false);
    layout->addWidget(hint);

    auto* buttons = new QHBoxLayout;
    add_ = makeButton(QStringLiteral("New Prompt..."), QStringLiteral("Add a prompt"), this);
    edit_ = makeButton(QStringLiteral("Edit"), QStringLiteral("Edit the selected prompt (Ctrl+E)"),
                       this);
    duplicate_ = makeButton(QStringLiteral("Duplicate"),
                            QStringLiteral("Add a copy of the selected prompt"), this);
    delete_ = makeButton(QStringLiteral("Delete..."), QStringLiteral("Delete the selected prompts"),
                         this);
    connect(add_, &QPushButton::clicked, this, &PromptsTab::addPrompt);
    connect(edit_, &QPushButton::clicked, this, &PromptsTab::editSelected);
    connect(duplicate_, &QPushButton::clicked, this, &PromptsTab::duplicateSelected);
    connect(delete_, &QPushButton::clicked, this, &PromptsTab::askToDeleteSelected);
    buttons->addWidget(add_);
    buttons->addStretch();
    for (auto* button : {edit_, duplicate_, delete_}) buttons->addWidget(button);
    layout->addLayout(buttons);

    rowMenu_ = new QMenu(this);
    rowMenu_->setAccessibleName(QStringLiteral("Prompt"));
    // One action for the menu entry and the key, so that the menu shows the key.
    auto* editAction = rowMenu_->addAction(QStringLiteral("Edit"), this, &PromptsTab::editSelected);
    editAction->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_E));
    editAction->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    addAction(editAction);
    rowMenu_->addAction(QStringLiteral("Duplicate"), this, &PromptsTab::duplicateSelected);
    rowMenu_->addAction(QStringLiteral("Delete..."), this, &PromptsTab::askToDeleteSelected);
    table_->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(table_, &QWidget::customContextMenuRequested, this, [this](const QPoint& at) {
        const QModelIndex index = table_->indexAt(at);
        if (index.isValid() && !table_->selectionModel()->isRowSelected(index.row()))
            table_->selectRow(index.row());
        if (selectedIds().empty()) return;
        renderButtons();
        rowMenu_->popup(table_->viewport()->mapToGlobal(at));
    });
    auto* deleteShortcut = new QShortcut(QKeySequence::Delete, table_);
    deleteShortcut->setContext(Qt::WidgetShortcut);
    connect(deleteShortcut, &QShortcut::activated, this, &PromptsTab::askToDeleteSelected);
    connect(table_, &QTableView::doubleClicked, this, [this](const QModelIndex& index) {
        if (index.column() != PromptTableModel::enableColumn) editSelected();
    });

    // A reload of the rows keeps the selected prompts selected.
    connect(model_, &QAbstractItemModel::modelAboutToBeReset, this, [this] {
        keptSelection_ = selectedIds();
        const QModelIndex current = table_->currentIndex();
        keptCurrent_ = current.isValid() ? model_->prompt(current.row()).id : 0;
    });
    connect(model_, &QAbstractItemModel::modelReset, this, [this] {
        selectIds(keptSelection_);
        if (const int row = model_->rowOf(keptCurrent_); row >= 0)
            table_->selectionModel()->setCurrentIndex(model_->index(row, 0),
                                                      QItemSelectionModel::NoUpdate);
        renderButtons();
    });
    connect(table_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &PromptsTab::renderButtons);
    // A drop while sorted takes the rows back to the list's order: the header
    // follows.
    connect(model_, &QAbstractItemModel::layoutChanged, this, [this, header] {
        if (!model_->sortKey() && header->sortIndicatorSection() != -1)
            header->setSortIndicator(-1, Qt::AscendingOrder);
    });

    subscription_ = list_.subscribe([this] { render(); });
    list_.trigger(input::Sync{});
    render();
}

PromptsTab::~PromptsTab() {
    subscription_.cancel();
}

void PromptsTab::render() {
    const auto& alert = list_.state().alert;
    alert_->setText(alert ? QString::fromStdString(*alert) : QString());
    alert_->setVisible(alert.has_value());
    renderButtons();
}

void PromptsTab::renderButtons() {
    const size_t selected = selectedIds().size();
    edit_->setEnabled(selected == 1);
    duplicate_->setEnabled(selected == 1);
    delete_->setEnabled(selected > 0);
    const auto actions = rowMenu_->actions();
    actions[0]->setEnabled(selected == 1);
    actions[1]->setEnabled(selected == 1);
    actions[2]->setEnabled(selected > 0);
}

std::set<int64_t> PromptsTab::selectedIds() const {
    std::set<int64_t> ids;
    for (const QModelIndex& index : table_->selectionModel()->selectedRows())
        ids.insert(model_->prompt(index.row()).id);
    return ids;
}

void PromptsTab::selectIds(const std::set<int64_t>& ids) {
    QItemSelection selection;
    for (const int64_t id : ids) {
        const int row = model_->rowOf(id);
        if (row >= 0)
            selection.select(model_->index(row, 0),
                             model_->index(row, PromptTableModel::columnCount_ - 1));
    }
    table_->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
}

PromptFormDialog* PromptsTab::addPrompt() {
    auto* form = new PromptFormDialog(list_, this);
    form->setAttribute(Qt::WA_DeleteOnClose);
    form->open();
    return form;
}

PromptFormDialog* PromptsTab::editSelected() {
    const auto ids = selectedIds();
    if (ids.size() != 1) return nullptr;
    const int row = model_->rowOf(*ids.begin());
    auto* form = new PromptFormDialog(list_, model_->prompt(row), this);
    form->setAttribute(Qt::WA_DeleteOnClose);
    form->open();
    return form;
}

void PromptsTab::duplicateSelected() {
    const auto ids = selectedIds();
    if (ids.size() != 1) return;
    const Prompt original = model_->prompt(model_->rowOf(*ids.begin()));
    try {
        list_.duplicatePrompt(original);
    } catch (const std::exception& error) {
        // Shown where the list's own failures show; the list stays as it was.
        alert_->setText(QString::fromStdString(error.what()));
        alert_->show();
    }
}

QMessageBox* PromptsTab::askToDeleteSelected() {
    const auto ids = selectedIds();
    if (ids.empty()) return nullptr;
    const QString text = ids.size() == 1
                             ? QStringLiteral("Are you sure you want to delete this prompt?")
                             : QStringLiteral("Delete %1 records").arg(qlonglong(ids.size()));
    auto* question = new QMessageBox(QMessageBox::Warning, QStringLiteral("Delete"), text,
                                     QMessageBox::NoButton, this);
    question->setAttribute(Qt::WA_DeleteOnClose);
    auto* remove = question->addButton(QStringLiteral("Delete"), QMessageBox::DestructiveRole);
    auto* cancel = question->addButton(QStringLiteral("Cancel"), QMessageBox::RejectRole);
    remove->setAccessibleName(remove->text());
    cancel->setAccessibleName(cancel->text());
    question->setDefaultButton(cancel);
    question->setEscapeButton(cancel);
    connect(question, &QMessageBox::finished, this, [this, question, remove, ids] {
        if (question->clickedButton() == remove) list_.trigger(input::RemovePrompts{ids});
    });
    question->open();
    return question;
}

}  // namespace folvane
