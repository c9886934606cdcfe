#include "shell/viewer/PageLines.h"

#include <QStringList>
#include <algorithm>
#include <cmath>

namespace folvane {

const std::vector<PageLines::Line>& PageLines::of(int page) {
    auto found = pages_.find(page);
    if (found != pages_.end()) return found->second;
    std::vector<Line> lines;
    const QString text = QString::fromStdString(document_->pageText(page));
    for (const QString& raw : text.split(QLatin1Char('\n'))) {
        const QString line = raw.trimmed();
        if (line.isEmpty()) continue;
        // A line that the page shows twice is the first place not yet taken.
        for (const PageHit& hit : document_->search(page, line.toStdString())) {
            if (hit.lines.empty()) continue;
            const PageRect& rect = hit.lines.front();
            const bool taken = std::any_of(lines.begin(), lines.end(),
                                           [&](const Line& other) { return other.rect == rect; });
            if (taken) continue;
            lines.push_back({rect, line});
            break;
        }
    }
    std::stable_sort(lines.begin(), lines.end(), [](const Line& a, const Line& b) {
        return a.rect.y0 + 1 < b.rect.y0 ||
               (std::abs(a.rect.y0 - b.rect.y0) <= 1 && a.rect.x0 < b.rect.x0);
    });
    return pages_.emplace(page, std::move(lines)).first->second;
}

std::vector<PageLines::Line> PageLines::between(int page, double y0, double y1) {
    const auto& lines = of(page);
    const double top = std::min(y0, y1);
    const double bottom = std::max(y0, y1);
    std::vector<Line> picked;
    // A line is touched when the band reaches its middle half: lines whose
    // boxes overlap a little are not taken by a drag over their neighbour.
    for (const Line& line : lines) {
        const double quarter = (line.rect.y1 - line.rect.y0) / 4;
        if (line.rect.y1 - quarter >= top && line.rect.y0 + quarter <= bottom)
            picked.push_back(line);
    }
    if (picked.empty() && !lines.empty()) {
        const double middle = (top + bottom) / 2;
        auto distance = [&](const Line& line) {
            return std::abs((line.rect.y0 + line.rect.y1) / 2 - middle);
        };
        picked.push_back(*std::min_element(
            lines.begin(), lines.end(),
            [&](const Line& a, const Line& b) { return distance(a) < distance(b); }));
    }
    return picked;
}

}  // namespace folvane
