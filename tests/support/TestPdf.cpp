#include "support/TestPdf.h"

#include <cstdio>

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

}  // namespace

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

void writePdf(const std::filesystem::path& path, int pageCount) {
    std::vector<std::string> texts;
    for (int i = 1; i <= pageCount; ++i) texts.push_back("Page " + std::to_string(i));
    writeFile(path, makePdf(texts));
}

}  // namespace folvane::test
