#include "shell/viewer/DocumentView.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QNativeGestureEvent>
#include <QPainter>
#include <QScrollBar>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

#include "conversation/PageNavigator.h"
#include "shell/viewer/DocumentSearch.h"
#include "shell/viewer/PageCache.h"
#include "shell/viewer/PagePainter.h"

namespace folvane {
DocumentView::DocumentView(std::shared_ptr<PdfViewerDocument> document,
                           std::shared_ptr<PageNavigator> navigator, QWidget* parent)
    : QAbstractScrollArea(parent),
      document_(std::move(document)),
      navigator_(std::move(navigator)),
      lines_(document_),
      cache_(new PageCache(document_, cacheBytes, this)),
      painter_(std::make_unique<PagePainter>(*document_, layout_, *cache_)),
      search_(new DocumentSearch(document_, this)) {
    setAccessibleName(QStringLiteral("Document viewer"));
    setFocusPolicy(Qt::StrongFocus);
    setFrameShape(QFrame::NoFrame);
    viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
    viewport()->setCursor(Qt::IBeamCursor);
    std::vector<QSizeF> sizes;
    for (int i = 0; i < document_->pageCount(); ++i) {
        const auto size = document_->pageSize(i).value_or(PageSize{612, 792});
        sizes.emplace_back(size.width, size.height);
    }
    layout_.setPages(std::move(sizes));
    relayout();
    connect(cache_, &PageCache::rendered, viewport(), qOverload<>(&QWidget::update));
    connect(search_, &DocumentSearch::found, this, &DocumentView::addMatch);
    if (navigator_) subscribe(*navigator_);
}

DocumentView::~DocumentView() = default;

void DocumentView::subscribe(PageNavigator& navigator) {
    auto& s = subscriptions_;
    s.push_back(navigator.goToPage.subscribe(
        [this](int page, const std::optional<std::string>& text) { goToPage(page, text); }));
    s.push_back(navigator.goToPreviousPage.subscribe([this] { goToPreviousPage(); }));
    s.push_back(navigator.goToNextPage.subscribe([this] { goToNextPage(); }));
    s.push_back(navigator.goBack.subscribe([this] { goBack(); }));
    s.push_back(navigator.goForward.subscribe([this] { goForward(); }));
    s.push_back(navigator.zoomIn.subscribe([this] { zoomIn(); }));
    s.push_back(navigator.zoomOut.subscribe([this] { zoomOut(); }));
    s.push_back(navigator.find.subscribe([this](const std::string& keyword) { find(keyword); }));
    s.push_back(navigator.findNext.subscribe([this] { findNext(); }));
    s.push_back(navigator.findPrevious.subscribe([this] { findPrevious(); }));
    s.push_back(navigator.highlightSearchResultAtIndex.subscribe(
        [this](int index) { highlightSearchResult(index); }));
}

// Layout and scrolling

void DocumentView::relayout() {
    if (fitWidth_) {
        const int width = viewport()->width() - 1;
        zoom_ = std::clamp(layout_.fitWidthZoom(width), minZoom, maxZoom);
    }
    layout_.update(zoom_, viewport()->width());
    updateScrollBars();
}

void DocumentView::updateScrollBars() {
    const QSize content = layout_.contentSize();
    const QSize view = viewport()->size();
    verticalScrollBar()->setRange(0, std::max(0, content.height() - view.height()));
    verticalScrollBar()->setPageStep(view.height());
    verticalScrollBar()->setSingleStep(40);
    horizontalScrollBar()->setRange(0, std::max(0, content.width() - view.width()));
    horizontalScrollBar()->setPageStep(view.width());
    horizontalScrollBar()->setSingleStep(40);
}

QPoint DocumentView::scrollOffset() const {
    return {horizontalScrollBar()->value(), verticalScrollBar()->value()};
}

DocumentView::Position DocumentView::position() const {
    const int top = scrollOffset().y();
    const int page = std::max(0, layout_.pageAt(top));
    if (layout_.pageCount() == 0) return {};
    return {page, layout_.toPage(page, QPointF(0, top)).y()};
}

void DocumentView::scrollTo(const Position& position) {
    if (position.page < 0 || position.page >= layout_.pageCount()) return;
    const int y = layout_.pageRect(position.page).top() + int(std::lround(position.y * zoom_));
    verticalScrollBar()->setValue(y);
    currentPage_ = position.page;
    emit currentPageChanged();
    viewport()->update();
}

void DocumentView::jumpTo(const Position& target) {
    back_.push_back(position());
    back_.back().page = currentPage_;
    forward_.clear();
    scrollTo(target);
}

void DocumentView::scrollIntoView(int page, const std::vector<PageRect>& rects) {
    if (rects.empty()) return;
    QRectF area;
    for (const auto& rect : rects) area |= layout_.toContent(page, rect);
    const QRect view(scrollOffset(), viewport()->size());
    if (!view.contains(area.toAlignedRect())) {
        // The passage's top a third down the view, or its middle when it is tall.
        const int y = area.height() < view.height() * 2 / 3
                          ? int(area.top()) - view.height() / 3
                          : int(area.center().y()) - view.height() / 2;
        verticalScrollBar()->setValue(y);
        if (area.left() < view.left() || area.right() > view.right())
            horizontalScrollBar()->setValue(int(area.left()) - 20);
    }
    updateCurrentPage();
    viewport()->update();
}

void DocumentView::updateCurrentPage() {
    if (layout_.pageCount() == 0) return;
    // The page that holds the view's upper third.
    const int page = layout_.pageAt(scrollOffset().y() + viewport()->height() / 3);
    if (page == currentPage_) return;
    currentPage_ = page;
    emit currentPageChanged();
}

void DocumentView::scrollContentsBy(int, int) {
    updateCurrentPage();
    viewport()->update();
}

void DocumentView::resizeEvent(QResizeEvent* event) {
    const Position at = position();
    QAbstractScrollArea::resizeEvent(event);
    relayout();
    const int current = currentPage_;
    scrollTo(at);
    currentPage_ = current;
}

// Pages and history

void DocumentView::goToPage(int number, const std::optional<std::string>& text) {
    const int index = number - 1;
    if (index < 0 || index >= document_->pageCount()) return;
    jumpTo({index, 0});
    if (!text) return;
    highlights_.clear();
    const auto rects = document_->locatePassage(index, *text);
    for (const auto& rect : rects) highlights_.push_back({index, rect});
    scrollIntoView(index, rects);
    currentPage_ = index;
    emit currentPageChanged();
    viewport()->update();
}

void DocumentView::goToPreviousPage() {
    if (currentPage_ > 0) goToPage(currentPage_);
}

void DocumentView::goToNextPage() {
    if (currentPage_ + 1 < document_->pageCount()) goToPage(currentPage_ + 2);
}

void DocumentView::goBack() {
    if (back_.empty()) return;
    forward_.push_back(position());
    forward_.back().page = currentPage_;
    scrollTo(back_.back());
    back_.pop_back();
}

void DocumentView::goForward() {
    if (forward_.empty()) return;
    back_.push_back(position());
    back_.back().page = currentPage_;
    scrollTo(forward_.back());
    forward_.pop_back();
}

QString DocumentView::pageStatus() const {
    const int count = document_->pageCount();
    if (count == 0) return {};
    const QString numbers = QStringLiteral("%1 of %2").arg(currentPage_ + 1).arg(count);
    const QString label = QString::fromStdString(document_->pageLabel(currentPage_));
    if (label.isEmpty() || label == QString::number(currentPage_ + 1)) return numbers;
    return label + QStringLiteral(" (") + numbers + QLatin1Char(')');
}

// Zoom

void DocumentView::setZoom(double zoom, std::optional<QPoint> anchor) {
    zoom = std::clamp(zoom, minZoom, maxZoom);
    const QPoint at = anchor.value_or(viewport()->rect().center());
    const QPoint content = scrollOffset() + at;
    const int page = std::max(0, layout_.pageAt(content.y()));
    const QPointF onPage = layout_.pageCount() ? layout_.toPage(page, content) : QPointF();
    fitWidth_ = false;
    zoom_ = zoom;
    relayout();
    if (layout_.pageCount() == 0) return;
    const QRect rect = layout_.pageRect(page);
    horizontalScrollBar()->setValue(int(rect.x() + onPage.x() * zoom_) - at.x());
    verticalScrollBar()->setValue(int(rect.y() + onPage.y() * zoom_) - at.y());
    updateCurrentPage();
    viewport()->update();
}

void DocumentView::fitToWidth() {
    const Position at = position();
    fitWidth_ = true;
    relayout();
    scrollTo(at);
}

void DocumentView::wheelEvent(QWheelEvent* event) {
    if (!(event->modifiers() & Qt::ControlModifier)) {
        QAbstractScrollArea::wheelEvent(event);
        return;
    }
    const double steps = event->angleDelta().y() / 120.0;
    if (steps != 0) setZoom(zoom_ * std::pow(zoomStep, steps), event->position().toPoint());
    event->accept();
}

bool DocumentView::viewportEvent(QEvent* event) {
    if (event->type() == QEvent::NativeGesture) {
        auto* gesture = static_cast<QNativeGestureEvent*>(event);
        if (gesture->gestureType() == Qt::ZoomNativeGesture) {
            setZoom(zoom_ * (1 + gesture->value()), gesture->position().toPoint());
            return true;
        }
    }
    return QAbstractScrollArea::viewportEvent(event);
}

void DocumentView::keyPressEvent(QKeyEvent* event) {
    if (event == QKeySequence::Copy) {
        copySelection();
    } else if (event->key() == Qt::Key_Home && event->modifiers() == Qt::NoModifier) {
        verticalScrollBar()->setValue(0);
    } else if (event->key() == Qt::Key_End && event->modifiers() == Qt::NoModifier) {
        verticalScrollBar()->setValue(verticalScrollBar()->maximum());
    } else if (event->key() == Qt::Key_Space) {
        verticalScrollBar()->triggerAction(event->modifiers() & Qt::ShiftModifier
                                               ? QAbstractSlider::SliderPageStepSub
                                               : QAbstractSlider::SliderPageStepAdd);
    } else {
        QAbstractScrollArea::keyPressEvent(event);
    }
}

// Find

void DocumentView::clearSearch() {
    search_->cancel();
    highlights_.clear();
    matches_.clear();
    if (selection_ && !hasUserSelection_) setSelection(std::nullopt);
}

void DocumentView::find(const std::string& keyword) {
    if (currentKeyword_ == keyword) {
        findNext();
        return;
    }
    clearSearch();
    currentKeyword_ = keyword;
    viewport()->update();
    if (keyword.empty()) return;
    search_->start(keyword);
}

void DocumentView::addMatch(const PageHit& hit) {
    matches_.push_back(hit);
    for (const auto& rect : hit.lines) highlights_.push_back({hit.pageIndex, rect});
    if (matches_.size() == 1) selectMatch(0);
    viewport()->update();
}

int DocumentView::selectedMatch() const {
    if (!selection_ || hasUserSelection_) return -1;
    for (size_t i = 0; i < matches_.size(); ++i)
        if (matches_[i].pageIndex == selection_->page && matches_[i].lines == selection_->rects)
            return int(i);
    return -1;
}

void DocumentView::selectMatch(int index) {
    const PageHit& hit = matches_[size_t(index)];
    setSelection(Selection{hit.pageIndex, hit.lines, QString::fromStdString(*currentKeyword_)});
    scrollIntoView(hit.pageIndex, hit.lines);
}

void DocumentView::findNext() {
    const int next = selectedMatch() + 1;
    if (next < int(matches_.size())) selectMatch(next);
}

void DocumentView::findPrevious() {
    const int previous = selectedMatch() - 1;
    if (previous >= 0) selectMatch(previous);
}

void DocumentView::highlightSearchResult(int index) {
    if (index >= 0 && index < int(matches_.size())) selectMatch(index);
}

// Selection

void DocumentView::setSelection(std::optional<Selection> selection) {
    selection_ = std::move(selection);
    if (!selection_ || selection_->text.isEmpty()) {
        hasUserSelection_ = false;
    } else {
        // A selection that reads as the keyword is the search's.
        const QString keyword = QString::fromStdString(currentKeyword_.value_or(""));
        hasUserSelection_ = selection_->text.toLower() != keyword.toLower();
    }
    viewport()->update();
}

std::optional<std::pair<int, QPointF>> DocumentView::pageAt(QPointF viewportPoint) const {
    const QPointF content = viewportPoint + scrollOffset();
    const int page = layout_.pageAt(int(content.y()));
    if (page < 0 || !layout_.pageRect(page).contains(content.toPoint())) return std::nullopt;
    return std::make_pair(page, layout_.toPage(page, content));
}

void DocumentView::selectByMouse(QPointF from, QPointF to) {
    auto picked = lines_.select(pressed_->first, from, to);
    if (picked.text.isEmpty()) return setSelection(std::nullopt);
    setSelection(Selection{pressed_->first, std::move(picked.rects), std::move(picked.text)});
}

void DocumentView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return QAbstractScrollArea::mousePressEvent(event);
    pressed_ = pageAt(event->position());
    setSelection(std::nullopt);
}

void DocumentView::mouseMoveEvent(QMouseEvent* event) {
    if (!pressed_ || !(event->buttons() & Qt::LeftButton)) return;
    const QPointF content = event->position() + scrollOffset();
    // Beyond its page the drag stays on the page where it began.
    const QPointF onPage = layout_.toPage(pressed_->first, content);
    const double height = layout_.pageSize(pressed_->first).height();
    selectByMouse(pressed_->second, QPointF(onPage.x(), std::clamp(onPage.y(), 0.0, height)));
}

void DocumentView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) pressed_.reset();
    QAbstractScrollArea::mouseReleaseEvent(event);
}

void DocumentView::copySelection() const {
    if (selection_ && !selection_->text.isEmpty())
        QApplication::clipboard()->setText(selection_->text);
}

QMenu* DocumentView::makeContextMenu(QWidget* parent) {
    auto* menu = new QMenu(parent);
    auto* page = menu->addAction(QStringLiteral("Use page content as context"));
    connect(page, &QAction::triggered, this, [this] {
        const QString text = QString::fromStdString(document_->pageText(currentPage_)).trimmed();
        if (!text.isEmpty()) emit useAsContext(text);
    });
    const QString selected = selectedText();
    if (hasUserSelection_ && selected.size() >= 11) {
        auto* selection = menu->addAction(QStringLiteral("Use highlighted text as context"));
        connect(selection, &QAction::triggered, this,
                [this, selected] { emit useAsContext(selected); });
    }
    menu->addSeparator();
    auto* copy = menu->addAction(QStringLiteral("Copy"), this, &DocumentView::copySelection);
    copy->setShortcut(QKeySequence::Copy);
    copy->setEnabled(!selected.isEmpty());
    menu->addAction(QStringLiteral("Zoom In"), this, &DocumentView::zoomIn);
    menu->addAction(QStringLiteral("Zoom Out"), this, &DocumentView::zoomOut);
    menu->addAction(QStringLiteral("Fit Width"), this, &DocumentView::fitToWidth);
    return menu;
}

void DocumentView::contextMenuEvent(QContextMenuEvent* event) {
    // The page under the pointer is the one whose content is offered.
    if (auto at = pageAt(event->pos())) {
        currentPage_ = at->first;
        emit currentPageChanged();
    }
    auto* menu = makeContextMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(event->globalPos());
}

// Painting

std::pair<int, int> DocumentView::visiblePages() const {
    const int top = scrollOffset().y();
    return layout_.pagesBetween(top, top + viewport()->height());
}

bool DocumentView::isPageDrawn(int page) const {
    return painter_->isDrawn(page, QRect(scrollOffset(), viewport()->size()), devicePixelRatioF());
}

QRect DocumentView::viewportRect(int page, const PageRect& rect) const {
    return layout_.toContent(page, rect).translated(-scrollOffset()).toAlignedRect();
}

void DocumentView::paintEvent(QPaintEvent*) {
    std::vector<PageMark> selected;
    if (selection_)
        for (const auto& rect : selection_->rects) selected.push_back({selection_->page, rect});
    QPainter painter(viewport());
    painter_->paint(painter, QRect(scrollOffset(), viewport()->size()), devicePixelRatioF(),
                    highlights_, selected);
}

}  // namespace folvane
