#include "documents/PdfDocument.h"

#include "documents/DocumentError.h"
#include "platform/FileBookmark.h"

extern "C" {
#include <mupdf/fitz.h>
#include <mupdf/pdf.h>
}

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>

namespace folvane {

// Everything between fz_try and fz_catch runs under setjmp/longjmp: the blocks
// below hold only plain C values, and every MuPDF call that can throw sits in
// one of them (an uncaught MuPDF error would end the process).

namespace {

void ignoreMessage(void*, const char*) {}

// A PDF starts with "%PDF-" within its first kilobyte; MuPDF would otherwise
// "repair" any file at all into an empty document.
bool hasPdfSignature(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return false;
    char head[1024] = {};
    file.read(head, sizeof head);
    const auto size = static_cast<size_t>(file.gcount());
    return std::search(head, head + size, "%PDF-", "%PDF-" + 5) != head + size;
}

enum class OpenFailure { none, password, damaged };

pdf_document* openDocument(fz_context* context, const char* path, int* pageCount,
                           OpenFailure* failure) {
    pdf_document* document = nullptr;
    fz_var(document);
    *failure = OpenFailure::damaged;
    fz_try(context) {
        document = pdf_open_document(context, path);
        if (pdf_needs_password(context, document) &&
            !pdf_authenticate_password(context, document, "")) {
            *failure = OpenFailure::password;
            fz_throw(context, FZ_ERROR_GENERIC, "password needed");
        }
        *pageCount = pdf_count_pages(context, document);
        *failure = OpenFailure::none;
    }
    fz_catch(context) {
        pdf_drop_document(context, document);
        document = nullptr;
    }
    return document;
}

std::string quotedName(const std::filesystem::path& path) {
    return "“" + path.filename().string() + "”";
}

pdf_page* loadPage(fz_context* context, pdf_document* document, int index) {
    pdf_page* page = nullptr;
    fz_var(page);
    fz_try(context) {
        page = pdf_load_page(context, document, index);
    }
    fz_catch(context) {
        page = nullptr;
    }
    return page;
}

fz_stext_page* textOf(fz_context* context, pdf_page* page) {
    fz_stext_page* text = nullptr;
    fz_var(text);
    fz_try(context) {
        fz_stext_options options = {};
        text = fz_new_stext_page_from_page(context, &page->super, &options);
    }
    fz_catch(context) {
        text = nullptr;
    }
    return text;
}

// Lines in reading order, separated by "\n", with no line end after the last.
std::string joinLines(fz_stext_page* text) {
    std::string out;
    bool firstLine = true;
    char utf8[FZ_UTFMAX];
    for (fz_stext_block* block = text->first_block; block; block = block->next) {
        if (block->type != FZ_STEXT_BLOCK_TEXT) continue;
        for (fz_stext_line* line = block->u.t.first_line; line; line = line->next) {
            if (!firstLine) out += '\n';
            firstLine = false;
            for (fz_stext_char* ch = line->first_char; ch; ch = ch->next) {
                out.append(utf8, static_cast<size_t>(fz_runetochar(utf8, ch->c)));
            }
        }
    }
    return out;
}

struct AnnotationFields {
    const char* type = "";
    const char* contents = nullptr;
};

AnnotationFields readAnnotation(fz_context* context, pdf_annot* annotation) {
    AnnotationFields fields;
    fz_try(context) {
        pdf_obj* object = pdf_annot_obj(context, annotation);
        fields.type = pdf_to_name(context, pdf_dict_get(context, object, PDF_NAME(Subtype)));
        pdf_obj* contents = pdf_dict_get(context, object, PDF_NAME(Contents));
        if (pdf_is_string(context, contents))
            fields.contents = pdf_to_text_string(context, contents);
    }
    fz_catch(context) {
        fields = AnnotationFields{};
    }
    return fields;
}

// The media box in MuPDF's page space (rotation applied, y down), or an empty
// rectangle when the page has no usable geometry.
fz_rect mediaBoxOf(fz_context* context, pdf_page* page) {
    fz_rect box = fz_empty_rect;
    fz_try(context) {
        fz_rect media =
            pdf_to_rect(context, pdf_dict_get_inheritable(context, page->obj, PDF_NAME(MediaBox)));
        // The size that MuPDF itself assumes for a page without one.
        if (fz_is_empty_rect(media)) media = fz_make_rect(0, 0, 612, 792);
        fz_rect cropped;
        fz_matrix pageTransform;
        pdf_page_transform(context, page, &cropped, &pageTransform);
        box = fz_transform_rect(media, pageTransform);
    }
    fz_catch(context) {
        box = fz_empty_rect;
    }
    return box;
}

fz_pixmap* draw(fz_context* context, pdf_page* page, fz_matrix transform, int width, int height) {
    fz_pixmap* pixmap = nullptr;
    fz_device* device = nullptr;
    fz_var(pixmap);
    fz_var(device);
    fz_try(context) {
        pixmap = fz_new_pixmap(context, fz_device_gray(context), width, height, nullptr, 0);
        fz_clear_pixmap_with_value(context, pixmap, 255);
        device = fz_new_draw_device(context, fz_identity, pixmap);
        fz_run_page(context, &page->super, device, transform, nullptr);
        fz_close_device(context, device);
    }
    fz_always(context) {
        fz_drop_device(context, device);
    }
    fz_catch(context) {
        fz_drop_pixmap(context, pixmap);
        pixmap = nullptr;
    }
    return pixmap;
}

}  // namespace

std::unique_ptr<PdfDocument> PdfDocument::open(const std::filesystem::path& path) {
    return load(path, false);
}

void PdfDocument::checkAdmissible(const std::filesystem::path& path) {
    load(path, true);
}

std::unique_ptr<PdfDocument> PdfDocument::load(const std::filesystem::path& path,
                                               bool damageAllowed) {
    std::error_code error;
    if (!std::filesystem::exists(path, error)) {
        throw FileError(quotedName(path) + " cannot be found: it has been moved or deleted.");
    }
    if (!std::filesystem::is_regular_file(path, error)) {
        throw FileError(quotedName(path) + " is not a file.");
    }
    if (std::ifstream probe(path, std::ios::binary); !probe) {
        throw FileError(quotedName(path) + " cannot be read: " + std::strerror(errno) + ".");
    }
    if (!hasPdfSignature(path)) throw DocumentError(quotedName(path) + " is not a PDF document.");
    fz_context* context = fz_new_context(nullptr, nullptr, FZ_STORE_DEFAULT);
    if (!context) throw DocumentError("Not enough memory to open " + quotedName(path) + ".");
    fz_set_error_callback(context, ignoreMessage, nullptr);
    fz_set_warning_callback(context, ignoreMessage, nullptr);
    int pages = 0;
    OpenFailure failure = OpenFailure::none;
    pdf_document* document = openDocument(context, path.c_str(), &pages, &failure);
    if (!document || pages < 0) {
        pdf_drop_document(context, document);
        fz_drop_context(context);
        if (failure == OpenFailure::password) {
            throw DocumentError(
                quotedName(path) +
                " is encrypted: it is protected by a password, and cannot be read.");
        }
        if (damageAllowed) return nullptr;
        throw DocumentError(quotedName(path) + " is damaged and cannot be read as a PDF.");
    }
    const bool repaired = pdf_was_repaired(context, document) != 0;
    return std::unique_ptr<PdfDocument>(new PdfDocument(context, document, pages, repaired));
}

PdfDocument::PdfDocument(fz_context* context, pdf_document* document, int pageCount,
                         bool wasRepaired)
    : context_(context), document_(document), pageCount_(pageCount), wasRepaired_(wasRepaired) {}

PdfDocument::~PdfDocument() {
    fz_drop_page(context_, loadedPage_ ? &loadedPage_->super : nullptr);
    pdf_drop_document(context_, document_);
    fz_drop_context(context_);
}

pdf_page* PdfDocument::page(int index) {
    if (index < 0 || index >= pageCount_) return nullptr;
    if (index != loadedIndex_) {
        fz_drop_page(context_, loadedPage_ ? &loadedPage_->super : nullptr);
        loadedPage_ = loadPage(context_, document_, index);
        loadedIndex_ = index;
    }
    return loadedPage_;
}

bool PdfDocument::hasPage(int index) {
    return page(index) != nullptr;
}

std::optional<std::string> PdfDocument::pageText(int index) {
    pdf_page* loaded = page(index);
    if (!loaded) return std::nullopt;
    fz_stext_page* text = textOf(context_, loaded);
    if (!text) return std::nullopt;
    std::string joined = joinLines(text);
    fz_drop_stext_page(context_, text);
    // Lines without characters leave only separators behind.
    if (joined.find_first_not_of('\n') == std::string::npos) return std::nullopt;
    return joined;
}

std::vector<PdfAnnotation> PdfDocument::annotations(int index) {
    std::vector<PdfAnnotation> result;
    pdf_page* loaded = page(index);
    if (!loaded) return result;
    for (pdf_annot* annotation = pdf_first_annot(context_, loaded); annotation;
         annotation = pdf_next_annot(context_, annotation)) {
        const AnnotationFields fields = readAnnotation(context_, annotation);
        PdfAnnotation& added = result.emplace_back();
        added.type = fields.type;
        if (fields.contents) added.contents = std::string(fields.contents);
    }
    return result;
}

std::optional<int> PdfDocument::pageNumber(int index) {
    pdf_page* loaded = page(index);
    if (!loaded) return std::nullopt;
    return loaded->super.number + 1;
}

std::optional<PageImage> PdfDocument::renderPage(int index, int resolution) {
    pdf_page* loaded = page(index);
    if (!loaded || resolution <= 0) return std::nullopt;
    const fz_rect box = mediaBoxOf(context_, loaded);
    const double pointsWide = static_cast<double>(box.x1) - box.x0;
    const double pointsHigh = static_cast<double>(box.y1) - box.y0;
    if (!std::isfinite(pointsWide) || !std::isfinite(pointsHigh) || pointsWide <= 0 ||
        pointsHigh <= 0) {
        return std::nullopt;
    }
    double scale = resolution / 72.0;
    scale = std::min(scale, maxRenderSide / std::max(pointsWide, pointsHigh));
    scale = std::min(scale, std::sqrt(maxRenderPixels / (pointsWide * pointsHigh)));
    const int width = static_cast<int>(std::floor(pointsWide * scale));
    const int height = static_cast<int>(std::floor(pointsHigh * scale));
    if (width < 1 || height < 1) return std::nullopt;

    const fz_matrix transform =
        fz_concat(fz_translate(-box.x0, -box.y0),
                  fz_scale(static_cast<float>(scale), static_cast<float>(scale)));
    fz_pixmap* pixmap = draw(context_, loaded, transform, width, height);
    if (!pixmap) return std::nullopt;

    PageImage image;
    image.width = fz_pixmap_width(context_, pixmap);
    image.height = fz_pixmap_height(context_, pixmap);
    image.resolution = std::max(1, static_cast<int>(std::lround(scale * 72.0)));
    const ptrdiff_t stride = fz_pixmap_stride(context_, pixmap);
    const unsigned char* samples = fz_pixmap_samples(context_, pixmap);
    image.pixels.resize(static_cast<size_t>(image.width) * static_cast<size_t>(image.height));
    for (int row = 0; row < image.height; ++row) {
        std::memcpy(image.pixels.data() + static_cast<size_t>(row) * image.width,
                    samples + row * stride, static_cast<size_t>(image.width));
    }
    fz_drop_pixmap(context_, pixmap);
    return image;
}

}  // namespace folvane
