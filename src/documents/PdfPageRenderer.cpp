#include "documents/PdfPageRenderer.h"

extern "C" {
#include <mupdf/fitz.h>
}

#include <algorithm>

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
    // MuPDF draws straight into the samples handed back, which start white:
    // one buffer, written once before the page is drawn over it.
    DrawnPixels drawn;
    drawn.width = box.x1 - box.x0;
    drawn.height = box.y1 - box.y0;
    drawn.samples.assign(static_cast<size_t>(drawn.width) * static_cast<size_t>(drawn.height) *
                             static_cast<size_t>(components),
                         255);
    unsigned char* samples = drawn.samples.data();
    fz_pixmap* pixmap = nullptr;
    fz_device* device = nullptr;
    int ok = 0;
    fz_var(pixmap);
    fz_var(device);
    fz_var(ok);
    fz_try(context) {
        pixmap = fz_new_pixmap_with_bbox_and_data(context, colorspace, box, nullptr, 0, samples);
        device = fz_new_draw_device(context, fz_identity, pixmap);
        fz_run_display_list(context, list, device, transform, fz_rect_from_irect(box), cookie);
        fz_close_device(context, device);
        ok = 1;
    }
    fz_always(context) {
        fz_drop_device(context, device);
        fz_drop_pixmap(context, pixmap);
    }
    fz_catch(context) {
        ok = 0;
    }
    if (!ok || (cancel && cancel->cancelled())) return std::nullopt;
    return drawn;
}

}  // namespace folvane
