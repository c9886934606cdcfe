#include "documents/PdfPageText.h"

namespace folvane {

// The blocks between fz_try and fz_catch hold only plain C values, since
// MuPDF leaves them by longjmp.

namespace {

fz_stext_page* textOf(fz_context* context, fz_page* page) {
    fz_stext_page* text = nullptr;
    fz_var(text);
    fz_try(context) {
        fz_stext_options options = {};
        text = fz_new_stext_page_from_page(context, page, &options);
    }
    fz_catch(context) {
        text = nullptr;
    }
    return text;
}

}  // namespace

fz_page* loadPdfPage(fz_context* context, pdf_document* document, int index) {
    fz_page* page = nullptr;
    fz_var(page);
    fz_try(context) {
        page = fz_load_page(context, &document->super, index);
    }
    fz_catch(context) {
        page = nullptr;
    }
    return page;
}

PdfPageText::PdfPageText(fz_context* context, pdf_document* document, int index)
    : context_(context),
      page_(loadPdfPage(context, document, index)),
      text_(page_ ? textOf(context, page_) : nullptr) {}

PdfPageText::~PdfPageText() {
    fz_drop_stext_page(context_, text_);
    fz_drop_page(context_, page_);
}

bool PdfPageText::hasText() const {
    if (!text_) return false;
    for (fz_stext_block* block = text_->first_block; block; block = block->next) {
        if (block->type != FZ_STEXT_BLOCK_TEXT) continue;
        for (fz_stext_line* line = block->u.t.first_line; line; line = line->next) {
            for (fz_stext_char* ch = line->first_char; ch; ch = ch->next) {
                if (ch->c > ' ' && ch->c != 0xa0) return true;
            }
        }
    }
    return false;
}

}  // namespace folvane
