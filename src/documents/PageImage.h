#pragma once

#include <cstdint>
#include <vector>

namespace folvane {

// A rendered page: 8-bit grey pixels, rows from the top, `width` bytes a row.
struct PageImage {
    int width = 0;
    int height = 0;
    // Pixels per inch at which the page was drawn.
    int resolution = 72;
    std::vector<uint8_t> pixels;
};

}  // namespace folvane
