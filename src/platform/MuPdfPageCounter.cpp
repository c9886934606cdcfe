#include "platform/MuPdfPageCounter.h"

extern "C" {
#include <mupdf/fitz.h>
#include <mupdf/pdf.h>
}

#include <memory>

namespace folvane {

namespace {

// MuPDF reports problems it recovers from, and the ones it gives up on, on
// standard error; here the caller only wants the count or its absence.
void ignoreMessage(void*, const char*) {}

struct ContextDeleter {
    void operator()(fz_context* context) const { fz_drop_context(context); }
};

// Everything between fz_try and fz_catch runs under setjmp/longjmp, so it only
// touches plain C values: no object with a destructor lives in that block.
int countPages(fz_context* context, const char* path) {
    pdf_document* document = nullptr;
    int pages = -1;
    fz_var(document);
    fz_var(pages);
    fz_try(context) {
        document = pdf_open_document(context, path);
        pages = pdf_count_pages(context, document);
    }
    fz_always(context) {
        pdf_drop_document(context, document);
    }
    fz_catch(context) {
        pages = -1;
    }
    return pages;
}

}  // namespace

std::optional<int> MuPdfPageCounter::pageCount(const std::string& path) const {
    std::unique_ptr<fz_context, ContextDeleter> context(
        fz_new_context(nullptr, nullptr, FZ_STORE_DEFAULT));
    if (!context) return std::nullopt;
    fz_set_error_callback(context.get(), ignoreMessage, nullptr);
    fz_set_warning_callback(context.get(), ignoreMessage, nullptr);
    const int pages = countPages(context.get(), path.c_str());
    // MuPDF repairs a damaged file where it can; one that yields no page at all
    // was not a PDF in any useful sense.
    if (pages <= 0) return std::nullopt;
    return pages;
}

}  // namespace folvane
