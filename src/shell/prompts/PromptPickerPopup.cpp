#include "shell/prompts/PromptPickerPopup.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QScreen>
#include <QVBoxLayout>

#include "conversation/PromptListViewModel.h"
#include "conversation/PromptPicker.h"
#include "shell/app/QtMainQueue.h"
#include "shell/prompts/PromptPickerModel.h"

namespace folvane {

PromptPickerPopup::PromptPickerPopup(PromptListViewModel& list, QWidget* parent)
    : QFrame(parent, Qt::Popup),
      list_(list),
      queue_(new QtMainQueue(this)),
      searcher_(std::make_unique<PromptPickerSearch>(
          *queue_, [this](std::vector<Prompt> prompts) { showResult(std::move(prompts)); })) {
    setAccessibleName(QStringLiteral("Prompt Library"));
    setFrameShape(QFrame::StyledPanel);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);

    auto* title = new QLabel(QStringLiteral("Prompt Library"), this);
    title->setStyleSheet(QStringLiteral("font-weight: bold"));
    layout->addWidget(title);

    search_ = new QLineEdit(this);
    search_->setAccessibleName(QStringLiteral("Search Prompts"));
    search_->setPlaceholderText(QStringLiteral("Search Prompts"));
    search_->setClearButtonEnabled(true);
    search_->installEventFilter(this);
    connect(search_, &QLineEdit::textChanged, this, &PromptPickerPopup::search);
    layout->addWidget(search_);

    model_ = new PromptPickerModel(this);
    view_ = new QListView(this);
    view_->setAccessibleName(QStringLiteral("Prompts"));
    view_->setModel(model_);
    view_->setItemDelegate(new PromptPickerDelegate(view_));
    view_->setSelectionMode(QAbstractItemView::SingleSelection);
    view_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view_->setDragEnabled(true);
    view_->setDragDropMode(QAbstractItemView::DragOnly);
    view_->setDefaultDropAction(Qt::CopyAction);
    view_->setUniformItemSizes(true);
    view_->installEventFilter(this);
    connect(view_, &QListView::clicked, this,
            [this](const QModelIndex& index) { choose(index.row()); });
    connect(view_->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) {
                if (current.isValid())
                    selectedItemId_ = model_->prompts()[size_t(current.row())].id;
            });
    layout->addWidget(view_, 1);

    auto* empty = new QLabel(QStringLiteral("No Prompts"), this);
    empty->setObjectName(QStringLiteral("noPrompts"));
    empty->setAlignment(Qt::AlignCenter);
    empty->setEnabled(false);
    empty->hide();
    layout->addWidget(empty);
    connect(model_, &QAbstractItemModel::modelReset, this,
            [this, empty] { empty->setVisible(model_->rowCount() == 0); });

    resize(380, 320);
    subscription_ = list_.subscribe([this] { search(); });
}

PromptPickerPopup::~PromptPickerPopup() {
    subscription_.cancel();
    // The search's task posts to the queue: it goes first.
    searcher_.reset();
}

const std::vector<Prompt>& PromptPickerPopup::displayingItems() const {
    return model_->prompts();
}

std::optional<int64_t> PromptPickerPopup::selectedItemId() const {
    return selectedItemId_;
}

void PromptPickerPopup::popUp(QWidget* anchor) {
    search_->blockSignals(true);
    search_->clear();
    search_->blockSignals(false);
    selectedItemId_.reset();
    list_.trigger(prompt_list_input::Sync{});
    search();

    // Above the anchor where it fits, else below it, else on the roomier side
    // and kept on the screen.
    const QPoint top = anchor->mapToGlobal(QPoint(0, 0));
    const int aboveY = top.y() - height() - 4;
    const int belowY = top.y() + anchor->height() + 4;
    QPoint at(top.x(), aboveY);
    if (const QScreen* screen = anchor->screen()) {
        const QRect area = screen->availableGeometry();
        if (aboveY < area.top()) {
            const bool below = belowY + height() <= area.bottom() ||
                               area.bottom() - top.y() - anchor->height() > top.y() - area.top();
            at.setY(below ? belowY : aboveY);
        }
        at.setY(std::clamp(at.y(), area.top(), std::max(area.top(), area.bottom() - height())));
        at.setX(std::clamp(at.x(), area.left(), std::max(area.left(), area.right() - width())));
    }
    move(at);
    show();
    raise();
    activateWindow();
    search_->setFocus(Qt::PopupFocusReason);
}

void PromptPickerPopup::search() {
    searcher_->search(list_.state().allPrompts, search_->text().toStdString());
}

void PromptPickerPopup::showResult(std::vector<Prompt> prompts) {
    model_->setPrompts(std::move(prompts));
    const auto& shown = model_->prompts();
    int row = -1;
    for (size_t i = 0; i < shown.size(); ++i) {
        if (selectedItemId_ && shown[i].id == *selectedItemId_) row = int(i);
    }
    // The selection stays on its prompt while it shows; else the first row.
    if (row < 0 && !shown.empty()) row = 0;
    if (row < 0) {
        selectedItemId_.reset();
        return;
    }
    view_->setCurrentIndex(model_->index(row));
}

void PromptPickerPopup::moveSelection(int step) {
    const int count = model_->rowCount();
    if (count == 0) return;
    const QModelIndex current = view_->currentIndex();
    const int row = current.isValid() ? std::clamp(current.row() + step, 0, count - 1) : 0;
    view_->setCurrentIndex(model_->index(row));
}

void PromptPickerPopup::selectCurrent() {
    const QModelIndex current = view_->currentIndex();
    if (current.isValid()) choose(current.row());
}

void PromptPickerPopup::choose(int row) {
    if (row < 0 || row >= model_->rowCount()) return;
    const Prompt prompt = model_->prompts()[size_t(row)];
    close();
    emit promptChosen(prompt);
}

bool PromptPickerPopup::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress) return QFrame::eventFilter(watched, event);
    auto* key = static_cast<QKeyEvent*>(event);
    const auto modifiers = key->modifiers() & ~Qt::KeypadModifier;
    if (modifiers == Qt::ControlModifier && key->key() >= Qt::Key_1 && key->key() <= Qt::Key_9) {
        choose(key->key() - Qt::Key_1);
        return true;
    }
    if (modifiers != Qt::NoModifier) return QFrame::eventFilter(watched, event);
    switch (key->key()) {
        case Qt::Key_Up:
            moveSelection(-1);
            return true;
        case Qt::Key_Down:
            moveSelection(1);
            return true;
        case Qt::Key_PageUp:
            moveSelection(-5);
            return true;
        case Qt::Key_PageDown:
            moveSelection(5);
            return true;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            selectCurrent();
            return true;
        case Qt::Key_Escape:
            close();
            return true;
        default:
            return QFrame::eventFilter(watched, event);
    }
}

}  // namespace folvane
