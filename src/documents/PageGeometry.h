#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace folvane {

// A rectangle on a page, in points, with the origin at the page's top left
// corner as the page is shown (its rotation applied).
struct PageRect {
    double x0 = 0, y0 = 0, x1 = 0, y1 = 0;

    bool operator==(const PageRect&) const = default;
};

struct PageSize {
    double width = 0, height = 0;
};

// A rectangle of pixels of a page drawn at some zoom, with the origin at the
// drawn page's top left corner; x1 and y1 are past the last pixel.
struct PixelRect {
    int x0 = 0, y0 = 0, x1 = 0, y1 = 0;

    bool operator==(const PixelRect&) const = default;
};

// One match of a search: the rectangles it covers, one for each line of the page.
struct PageHit {
    int pageIndex = 0;
    std::vector<PageRect> lines;
};

// A page drawn in colour: 8-bit RGB, rows from the top, 3 * width bytes a row.
struct RgbImage {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> pixels;
};

// One character of a page's text and the box it covers.
struct TextChar {
    PageRect box;
    std::string text;  // UTF-8, usually one code point
};

// One line of a page's text, its characters in reading order.
struct TextLine {
    PageRect rect;
    std::vector<TextChar> chars;

    std::string text() const {
        std::string out;
        for (const TextChar& c : chars) out += c.text;
        return out;
    }
};

}  // namespace folvane
