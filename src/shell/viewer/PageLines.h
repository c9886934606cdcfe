#pragma once

#include <QString>
#include <map>
#include <memory>
#include <vector>

#include "documents/PdfViewerDocument.h"

namespace folvane {

// The lines of a page's text with where each stands on the page, read once per
// page: what a mouse selection picks whole lines from.
class PageLines {
  public:
    struct Line {
        PageRect rect;
        QString text;
    };

    explicit PageLines(std::shared_ptr<PdfViewerDocument> document)
        : document_(std::move(document)) {}

    const std::vector<Line>& of(int page);
    // The lines of the page that the band between the heights y0 and y1 (in
    // points, either order) touches, in reading order; the nearest line when
    // the band is between lines.
    std::vector<Line> between(int page, double y0, double y1);

  private:
    std::shared_ptr<PdfViewerDocument> document_;
    std::map<int, std::vector<Line>> pages_;
};

}  // namespace folvane
