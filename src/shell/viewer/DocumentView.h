#pragma once

#include <QAbstractScrollArea>
#include <QPointF>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "documents/PdfViewerDocument.h"
#include "runtime/ObserverList.h"
#include "shell/viewer/PageCache.h"
#include "shell/viewer/PageLayout.h"
#include "shell/viewer/PageLines.h"
#include "shell/viewer/PagePainter.h"

class QMenu;

namespace folvane {

class DocumentSearch;
class PageNavigator;

// The pages of one document in a column on grey, fitted to the width until
// the user zooms, drawn on a worker and cached. It listens to every channel of
// the chat's page navigator: pages, history, zoom and find. Highlights are
// drawn yellow over the text; the selection is the user's own (by mouse) or
// the current match of a search, which never counts as the user's.
class DocumentView final : public QAbstractScrollArea {
    Q_OBJECT
  public:
    static constexpr double minZoom = 0.3;
    static constexpr double maxZoom = 10;
    static constexpr double zoomStep = 1.25;
    static constexpr int64_t cacheBytes = 128ll * 1024 * 1024;

    using Highlight = PageMark;

    // navigator may be null: a view that nothing drives.
    DocumentView(std::shared_ptr<PdfViewerDocument> document,
                 std::shared_ptr<PageNavigator> navigator, QWidget* parent = nullptr);
    ~DocumentView() override;

    PdfViewerDocument& document() { return *document_; }

    // A page counted from 1; with text, the text's lines are highlighted on it
    // and scrolled into view. A page out of range does nothing.
    void goToPage(int number, const std::optional<std::string>& text = std::nullopt);
    void goToPreviousPage();
    void goToNextPage();
    void goBack();
    void goForward();
    void zoomIn() { setZoom(zoom_ * zoomStep); }
    void zoomOut() { setZoom(zoom_ / zoomStep); }
    // Zooms keeping the point at anchor (viewport pixels; the centre when none)
    // where it is.
    void setZoom(double zoom, std::optional<QPoint> anchor = std::nullopt);
    void fitToWidth();
    double zoom() const { return zoom_; }

    void find(const std::string& keyword);
    void findNext();
    void findPrevious();
    void highlightSearchResult(int index);
    const std::vector<PageHit>& searchMatches() const { return matches_; }
    // The index of the selected match; -1 when the selection is no match.
    int selectedMatch() const;

    // The page index at the top of the view.
    int currentPage() const { return currentPage_; }
    // "xii (14 of 210)", or "14 of 210" when the label is the number.
    QString pageStatus() const;
    const std::vector<Highlight>& highlights() const { return highlights_; }
    QString selectedText() const { return selection_ ? selection_->text : QString(); }
    bool hasUserSelection() const { return hasUserSelection_; }
    // The first and last page that show in the viewport now.
    std::pair<int, int> visiblePages() const;
    // Whether what shows of the page at the current zoom is drawn and cached.
    bool isPageDrawn(int page) const;
    // The bytes of the pictures in the cache.
    int64_t cachedBytes() const { return cache_->bytes(); }
    // Where a rectangle of a page shows in the viewport now.
    QRect viewportRect(int page, const PageRect& rect) const;
    // The context menu of the page as it stands now.
    QMenu* makeContextMenu(QWidget* parent);
    void copySelection() const;

  signals:
    void currentPageChanged();
    // The text of the page or of the selection, as context for the next message.
    void useAsContext(const QString& text);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void wheelEvent(QWheelEvent* event) override;
    bool viewportEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

  private:
    struct Position {
        int page = 0;
        double y = 0;  // in points from the page's top
    };
    struct Selection {
        int page = 0;
        std::vector<PageRect> rects;
        QString text;
    };

    void subscribe(PageNavigator& navigator);
    void relayout();
    void updateScrollBars();
    Position position() const;
    void scrollTo(const Position& position);
    void jumpTo(const Position& position);
    void scrollIntoView(int page, const std::vector<PageRect>& rects);
    void updateCurrentPage();
    void setSelection(std::optional<Selection> selection);
    void selectMatch(int index);
    void addMatch(const PageHit& hit);
    void clearSearch();
    void selectByMouse(QPointF from, QPointF to);
    // The page and the point on it under a viewport point; none off the pages.
    std::optional<std::pair<int, QPointF>> pageAt(QPointF viewportPoint) const;
    QPoint scrollOffset() const;
    std::shared_ptr<PdfViewerDocument> document_;
    std::shared_ptr<PageNavigator> navigator_;
    PageLayout layout_;
    PageLines lines_;
    PageCache* cache_;
    std::unique_ptr<PagePainter> painter_;
    DocumentSearch* search_;
    double zoom_ = 1;
    bool fitWidth_ = true;
    int currentPage_ = 0;
    std::vector<Position> back_;
    std::vector<Position> forward_;
    std::vector<Highlight> highlights_;
    std::optional<std::string> currentKeyword_;
    std::vector<PageHit> matches_;
    std::optional<Selection> selection_;
    bool hasUserSelection_ = false;
    std::optional<std::pair<int, QPointF>> pressed_;
    std::vector<Subscription> subscriptions_;
};

}  // namespace folvane
