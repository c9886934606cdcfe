#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "documents/PageGeometry.h"

struct fz_display_list;

namespace folvane {

class MupdfContext;
class RenderCancel;

// Pixels drawn from a page's display list: 8-bit samples, `components` a
// pixel (3: RGB, 1: grey), rows from the top.
struct DrawnPixels {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> samples;
};

// Draws a recorded page on the calling thread with a context cloned from
// base, so that no lock of the document is held meanwhile. The list is only
// read; several threads may draw the same list at once.
//
// tile: the pixels wanted of the page drawn at zoom, cut to the page; the
// whole page when none. None when the tile is empty or larger than maxPixels,
// when drawing fails, or when cancel was cancelled before or during the draw.
std::optional<DrawnPixels> drawDisplayList(const MupdfContext& base, fz_display_list* list,
                                           double zoom, const std::optional<PixelRect>& tile,
                                           int components, double maxPixels, RenderCancel* cancel);

}  // namespace folvane
