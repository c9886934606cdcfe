#include "documents/RenderCancel.h"

extern "C" {
#include <mupdf/fitz.h>
}

#include <atomic>

namespace folvane {

// MuPDF reads cookie->abort without a lock while it draws; the flag is set and
// read through atomic_ref so that the other thread's write is seen.

struct RenderCancel::Cookie {
    fz_cookie value{};
};

RenderCancel::RenderCancel() : cookie_(std::make_unique<Cookie>()) {}

RenderCancel::~RenderCancel() = default;

void RenderCancel::cancel() {
    std::atomic_ref<int>(cookie_->value.abort).store(1);
}

bool RenderCancel::cancelled() const {
    return std::atomic_ref<int>(cookie_->value.abort).load() != 0;
}

void* RenderCancel::mupdfCookie() {
    return &cookie_->value;
}

}  // namespace folvane
