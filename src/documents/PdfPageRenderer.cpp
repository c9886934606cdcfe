#include "documents/PdfPageRenderer.h"

extern "C" {
#include <mupdf/fitz.h>
}

#include <algorithm>
#include <cstring>

#include "documents/MupdfContext.h"
#include "documents/RenderCancel.h"

namespace folvane {

// The blocks between fz_try and fz_catch hold only plain C values, since
// MuPDF leaves them by longjmp.

std::optional<DrawnPixels> drawDisplayList(const MupdfContext& base, fz_display_list* list,
                                           double zoom, const std::optional<PixelRect>& tile,
                                           int components, double maxPixels, RenderCancel* cancel) {
    if (!list || !(zoom > 0) || (cancel && cancel->cancelled())) return std::nullopt;
    MupdfContext::Clone clone(base);
    fz_context* context = clone.get();
    if (!context) return std::nullopt;

    const fz_matrix transform = fz_scale(static_cast<float>(zoom), static_cast<float>(zoom));
    const fz_irect page =
        fz_round_rect(fz_transform_rect(fz_bound_display_list(context, list), transform));
    fz_irect box = page;
    if (tile) {
        box = fz_intersect_irect(page, fz_irect{page.x0 + tile->x0, page.y0 + tile->y0,
                                                page.x0 + tile->x1, page.y0 + tile->y1});
    }
    if (fz_is_empty_irect(box)) return std::nullopt;
    const double area = double(box.x1 - box.x0) * double(box.y1 - box.y0);
    if (area > maxPixels) return std::nullopt;

    fz_cookie* cookie = cancel ? static_cast<fz_cookie*>(cancel->mupdfCookie()) : nullptr;
    fz_colorspace* colorspace = components == 1 ? fz_device_gray(context) : fz_device_rgb(context);
    fz_pixmap* pixmap = nullptr;
    fz_device* device = nullptr;
    fz_var(pixmap);
    fz_var(device);
    fz_try(context) {
        pixmap = fz_new_pixmap_with_bbox(context, colorspace, box, nullptr, 0);
        fz_clear_pixmap_with_value(context, pixmap, 255);
        device = fz_new_draw_device(context, fz_identity, pixmap);
        fz_run_display_list(context, list, device, transform, fz_rect_from_irect(box), cookie);
        fz_close_device(context, device);
    }
    fz_always(context) {
        fz_drop_device(context, device);
    }
    fz_catch(context) {
        fz_drop_pixmap(context, pixmap);
        pixmap = nullptr;
    }
    if (!pixmap) return std::nullopt;
    if (cancel && cancel->cancelled()) {
        fz_drop_pixmap(context, pixmap);
        return std::nullopt;
    }
    DrawnPixels drawn;
    drawn.width = fz_pixmap_width(context, pixmap);
    drawn.height = fz_pixmap_height(context, pixmap);
    const auto stride = static_cast<size_t>(fz_pixmap_stride(context, pixmap));
    const auto row = static_cast<size_t>(drawn.width) * static_cast<size_t>(components);
    const unsigned char* samples = fz_pixmap_samples(context, pixmap);
    drawn.samples.resize(row * static_cast<size_t>(drawn.height));
    for (int y = 0; y < drawn.height; ++y) {
        std::memcpy(drawn.samples.data() + row * static_cast<size_t>(y),
                    samples + stride * static_cast<size_t>(y), row);
    }
    fz_drop_pixmap(context, pixmap);
    return drawn;
}

}  // namespace folvane
