#include "shell/viewer/PageLines.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace folvane {
namespace {

// How far a value is from a range: 0 inside it.
double distance(double value, double low, double high) {
    if (value < low) return low - value;
    if (value > high) return value - high;
    return 0;
}

}  // namespace

const std::vector<TextLine>& PageLines::of(int page) {
    auto found = pages_.find(page);
    if (found != pages_.end()) return found->second;
    return pages_.emplace(page, document_->pageTextLayout(page)).first->second;
}

std::optional<PageLines::Position> PageLines::nearest(const std::vector<TextLine>& lines,
                                                      QPointF point) {
    std::optional<Position> best;
    double bestLine = std::numeric_limits<double>::max();
    for (size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].chars.empty()) continue;
        const PageRect& rect = lines[i].rect;
        // The line the point is on, or the nearest above or below; then the
        // nearest across.
        const double d =
            distance(point.y(), rect.y0, rect.y1) * 1000 + distance(point.x(), rect.x0, rect.x1);
        if (d < bestLine) {
            bestLine = d;
            best = Position{i, 0};
        }
    }
    if (!best) return best;
    const auto& chars = lines[best->line].chars;
    double bestChar = std::numeric_limits<double>::max();
    for (size_t c = 0; c < chars.size(); ++c) {
        const double d = distance(point.x(), chars[c].box.x0, chars[c].box.x1);
        if (d < bestChar) {
            bestChar = d;
            best->character = c;
        }
    }
    return best;
}

PageLines::Selection PageLines::select(int page, QPointF from, QPointF to) {
    const auto& lines = of(page);
    auto start = nearest(lines, from);
    auto end = nearest(lines, to);
    if (!start || !end) return {};
    if (*end < *start) std::swap(start, end);
    Selection selection;
    for (size_t i = start->line; i <= end->line; ++i) {
        const auto& chars = lines[i].chars;
        const size_t first = i == start->line ? start->character : 0;
        const size_t last = i == end->line ? end->character : chars.size() - 1;
        if (chars.empty() || first > last) continue;
        PageRect rect = chars[first].box;
        for (size_t c = first + 1; c <= last; ++c) {
            rect.x0 = std::min(rect.x0, chars[c].box.x0);
            rect.y0 = std::min(rect.y0, chars[c].box.y0);
            rect.x1 = std::max(rect.x1, chars[c].box.x1);
            rect.y1 = std::max(rect.y1, chars[c].box.y1);
        }
        selection.rects.push_back(rect);
    }
    selection.text = QString::fromStdString(
        document_->textInSelection(page, PageRect{from.x(), from.y(), to.x(), to.y()}));
    return selection;
}

}  // namespace folvane
