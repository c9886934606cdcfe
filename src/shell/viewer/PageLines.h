#pragma once

#include <QPointF>
#include <QString>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "documents/PdfViewerDocument.h"

namespace folvane {

// The text of a page with each character's box, read once per page: what a
// mouse selection is made of.
class PageLines {
  public:
    struct Selection {
        std::vector<PageRect> rects;  // one for each line the selection covers
        QString text;
    };

    explicit PageLines(std::shared_ptr<PdfViewerDocument> document)
        : document_(std::move(document)) {}

    const std::vector<TextLine>& of(int page);
    // What a drag from one point of the page to another (in points) selects:
    // from the character nearest to the one to the character nearest to the
    // other, in reading order, whichever way the drag went. Nothing on a page
    // without text.
    Selection select(int page, QPointF from, QPointF to);

  private:
    struct Position {
        size_t line = 0;
        size_t character = 0;
        auto operator<=>(const Position&) const = default;
    };
    static std::optional<Position> nearest(const std::vector<TextLine>& lines, QPointF point);

    std::shared_ptr<PdfViewerDocument> document_;
    std::map<int, std::vector<TextLine>> pages_;
};

}  // namespace folvane
