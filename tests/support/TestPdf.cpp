#include "support/TestPdf.h"

extern "C" {
#include <mupdf/fitz.h>
#include <mupdf/pdf.h>
}
#include <zlib.h>

#include <cstdio>
#include <memory>
#include <stdexcept>

#include "support/TempDir.h"

namespace folvane::test {

namespace {

std::string pdfString(const std::string& text) {
    std::string out = "(";
    for (char c : text) {
        if (c == '(' || c == ')' || c == '\\') out += '\\';
        out += c;
    }
    return out + ")";
}

// The file around numbered objects: object 1 must be the catalog.
std::string assemble(const std::vector<std::string>& objects) {
    std::string out = "%PDF-1.4\n";
    std::vector<size_t> offsets;
    for (size_t i = 0; i < objects.size(); ++i) {
        offsets.push_back(out.size());
        out += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
    }
    const size_t xref = out.size();
    out += "xref\n0 " + std::to_string(objects.size() + 1) + "\n0000000000 65535 f \n";
    for (size_t offset : offsets) {
        char entry[21];
        std::snprintf(entry, sizeof entry, "%010zu 00000 n \n", offset);
        out += entry;
    }
    out += "trailer\n<< /Size " + std::to_string(objects.size() + 1) +
           " /Root 1 0 R >>\nstartxref\n" + std::to_string(xref) + "\n%%EOF\n";
    return out;
}

std::string streamObject(const std::string& dictionary, const std::string& data) {
    return "<< " + dictionary + " /Length " + std::to_string(data.size()) + " >>\nstream\n" + data +
           "\nendstream";
}

std::string textContent(const TestPage& page) {
    const std::string size = std::to_string(page.fontSize);
    std::string content = "BT /F1 " + size + " Tf " + std::to_string(page.fontSize * 1.4) +
                          " TL 72 " + std::to_string(792 - 72 - page.fontSize) + " Td";
    for (const std::string& line : page.lines) content += " " + pdfString(line) + " Tj T*";
    return content + " ET";
}

std::string annotationObject(const TestAnnotation& annotation) {
    std::string object = "<< /Type /Annot /Subtype /" + annotation.subtype + " /Rect [" +
                         annotation.rect + "] /DA (/Helv 18 Tf 0 g)";
    if (annotation.contents) object += " /Contents " + pdfString(*annotation.contents);
    return object + " >>";
}

struct ContextDeleter {
    void operator()(fz_context* context) const { fz_drop_context(context); }
};

using Context = std::unique_ptr<fz_context, ContextDeleter>;

Context newContext() {
    Context context(fz_new_context(nullptr, nullptr, FZ_STORE_DEFAULT));
    if (!context) throw std::runtime_error("no MuPDF context");
    return context;
}

// The grey pixels (rows from the top) of the first page of pdf at resolution.
std::string renderFirstPage(fz_context* context, const std::string& pdf, int resolution, int* width,
                            int* height) {
    fz_buffer* buffer = nullptr;
    fz_stream* stream = nullptr;
    pdf_document* document = nullptr;
    fz_pixmap* pixmap = nullptr;
    const char* failure = nullptr;
    fz_var(buffer);
    fz_var(stream);
    fz_var(document);
    fz_var(pixmap);
    fz_try(context) {
        buffer = fz_new_buffer_from_copied_data(
            context, reinterpret_cast<const unsigned char*>(pdf.data()), pdf.size());
        stream = fz_open_buffer(context, buffer);
        document = pdf_open_document_with_stream(context, stream);
        const float scale = resolution / 72.0f;
        pixmap = fz_new_pixmap_from_page_number(context, &document->super, 0,
                                                fz_scale(scale, scale), fz_device_gray(context), 0);
    }
    fz_always(context) {
        pdf_drop_document(context, document);
        fz_drop_stream(context, stream);
        fz_drop_buffer(context, buffer);
    }
    fz_catch(context) {
        failure = "cannot render the test page";
    }
    if (failure) throw std::runtime_error(failure);
    *width = fz_pixmap_width(context, pixmap);
    *height = fz_pixmap_height(context, pixmap);
    const ptrdiff_t stride = fz_pixmap_stride(context, pixmap);
    std::string pixels;
    for (int row = 0; row < *height; ++row) {
        pixels.append(
            reinterpret_cast<const char*>(fz_pixmap_samples(context, pixmap)) + row * stride,
            static_cast<size_t>(*width));
    }
    fz_drop_pixmap(context, pixmap);
    return pixels;
}

std::string deflate(const std::string& data) {
    uLongf size = compressBound(data.size());
    std::string out(size, '\0');
    if (compress2(reinterpret_cast<Bytef*>(out.data()), &size,
                  reinterpret_cast<const Bytef*>(data.data()), data.size(), 6) != Z_OK) {
        throw std::runtime_error("cannot compress");
    }
    out.resize(size);
    return out;
}

}  // namespace

std::string makePdfWithPages(const std::vector<TestPage>& pages) {
    // Objects: 1 catalog, 2 page tree, 3 font, then each page, its contents and
    // its annotations.
    std::vector<std::string> objects(3);
    std::string kids;
    for (const TestPage& page : pages) {
        const size_t pageNumber = objects.size() + 1;
        std::string annots;
        for (size_t i = 0; i < page.annotations.size(); ++i) {
            annots += std::to_string(pageNumber + 2 + i) + " 0 R ";
        }
        objects.push_back("<< /Type /Page /Parent 2 0 R /MediaBox [" + page.mediaBox +
                          "] /Resources << /Font << /F1 3 0 R >> >> /Contents " +
                          std::to_string(pageNumber + 1) + " 0 R /Annots [" + annots + "] >>");
        objects.push_back(streamObject("", textContent(page)));
        for (const auto& annotation : page.annotations) {
            objects.push_back(annotationObject(annotation));
        }
        kids += std::to_string(pageNumber) + " 0 R ";
    }
    objects[0] = "<< /Type /Catalog /Pages 2 0 R >>";
    objects[1] =
        "<< /Type /Pages /Kids [" + kids + "] /Count " + std::to_string(pages.size()) + " >>";
    objects[2] =
        "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>";
    return assemble(objects);
}

std::string makeScannedPdf(const std::vector<std::vector<std::string>>& pageLines,
                           double fontSize) {
    Context context = newContext();
    std::vector<std::string> objects(2);
    std::string kids;
    for (const auto& lines : pageLines) {
        TestPage page;
        page.lines = lines;
        page.fontSize = fontSize;
        int width = 0;
        int height = 0;
        const std::string pixels =
            renderFirstPage(context.get(), makePdfWithPages({page}), 150, &width, &height);
        const size_t pageNumber = objects.size() + 1;
        objects.push_back(
            "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Resources "
            "<< /XObject << /Im1 " +
            std::to_string(pageNumber + 2) + " 0 R >> >> /Contents " +
            std::to_string(pageNumber + 1) + " 0 R >>");
        objects.push_back(streamObject("", "q 612 0 0 792 0 0 cm /Im1 Do Q"));
        objects.push_back(streamObject("/Type /XObject /Subtype /Image /Width " +
                                           std::to_string(width) + " /Height " +
                                           std::to_string(height) +
                                           " /ColorSpace /DeviceGray /BitsPerComponent 8 "
                                           "/Filter /FlateDecode",
                                       deflate(pixels)));
        kids += std::to_string(pageNumber) + " 0 R ";
    }
    objects[0] = "<< /Type /Catalog /Pages 2 0 R >>";
    objects[1] =
        "<< /Type /Pages /Kids [" + kids + "] /Count " + std::to_string(pageLines.size()) + " >>";
    return assemble(objects);
}

std::string encryptPdf(const std::string& pdf, const std::string& userPassword,
                       const std::string& ownerPassword) {
    Context context = newContext();
    fz_context* ctx = context.get();
    fz_buffer* input = nullptr;
    fz_buffer* output = nullptr;
    fz_stream* stream = nullptr;
    fz_output* out = nullptr;
    pdf_document* document = nullptr;
    const char* failure = nullptr;
    fz_var(input);
    fz_var(output);
    fz_var(stream);
    fz_var(out);
    fz_var(document);
    pdf_write_options options = pdf_default_write_options;
    options.do_encrypt = PDF_ENCRYPT_AES_128;
    options.permissions = -1;
    std::snprintf(options.upwd_utf8, sizeof options.upwd_utf8, "%s", userPassword.c_str());
    std::snprintf(options.opwd_utf8, sizeof options.opwd_utf8, "%s", ownerPassword.c_str());
    fz_try(ctx) {
        input = fz_new_buffer_from_copied_data(
            ctx, reinterpret_cast<const unsigned char*>(pdf.data()), pdf.size());
        stream = fz_open_buffer(ctx, input);
        document = pdf_open_document_with_stream(ctx, stream);
        output = fz_new_buffer(ctx, 4096);
        out = fz_new_output_with_buffer(ctx, output);
        pdf_write_document(ctx, document, out, &options);
        fz_close_output(ctx, out);
    }
    fz_always(ctx) {
        fz_drop_output(ctx, out);
        pdf_drop_document(ctx, document);
        fz_drop_stream(ctx, stream);
        fz_drop_buffer(ctx, input);
    }
    fz_catch(ctx) {
        failure = "cannot encrypt the test PDF";
    }
    if (failure) throw std::runtime_error(failure);
    unsigned char* data = nullptr;
    const size_t size = fz_buffer_storage(ctx, output, &data);
    std::string bytes(reinterpret_cast<const char*>(data), size);
    fz_drop_buffer(ctx, output);
    return bytes;
}

std::string makePdf(const std::vector<std::string>& pageTexts) {
    // Objects: 1 catalog, 2 page tree, 3 font, then a page and its contents
    // for each page.
    std::vector<std::string> objects(3);
    std::string kids;
    for (const std::string& text : pageTexts) {
        const std::string content = "BT /F1 12 Tf 72 720 Td " + pdfString(text) + " Tj ET";
        const size_t page = objects.size() + 1;
        objects.push_back(
            "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] "
            "/Resources << /Font << /F1 3 0 R >> >> /Contents " +
            std::to_string(page + 1) + " 0 R >>");
        objects.push_back("<< /Length " + std::to_string(content.size()) + " >>\nstream\n" +
                          content + "\nendstream");
        kids += std::to_string(page) + " 0 R ";
    }
    objects[0] = "<< /Type /Catalog /Pages 2 0 R >>";
    objects[1] =
        "<< /Type /Pages /Kids [" + kids + "] /Count " + std::to_string(pageTexts.size()) + " >>";
    objects[2] =
        "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica "
        "/Encoding /WinAnsiEncoding >>";

    return assemble(objects);
}

void writePdf(const std::filesystem::path& path, int pageCount) {
    std::vector<std::string> texts;
    for (int i = 1; i <= pageCount; ++i) texts.push_back("Page " + std::to_string(i));
    writeFile(path, makePdf(texts));
}

}  // namespace folvane::test
