#include <cstdio>
#include <ostream>
#include <string>

#include "cli/CliArguments.h"
#include "documents/PdfViewerDocument.h"
#include "platform/PngWriter.h"
#include "store/JsonText.h"

namespace folvane {

namespace {

std::string formatRect(const PageRect& rect) {
    char text[96];
    std::snprintf(text, sizeof text, "%.1f %.1f %.1f %.1f", rect.x0, rect.y0, rect.x1, rect.y1);
    return text;
}

nlohmann::ordered_json rectJson(const PageRect& rect) {
    return {rect.x0, rect.y0, rect.x1, rect.y1};
}

int parsePage(const std::string& text, const PdfViewerDocument& document) {
    const int64_t page = parseId(text, "page number");
    if (page > document.pageCount()) {
        throw UsageError("the document has " + std::to_string(document.pageCount()) + " pages");
    }
    return static_cast<int>(page);
}

// A highlight as the viewer draws it: yellow at alpha 0.8, multiplied with the
// page so that the text under it stays dark.
void paintHighlight(RgbImage& image, const PageRect& rect, double zoom) {
    constexpr double alpha = 0.8;
    constexpr double yellow[3] = {1.0, 1.0, 0.0};
    const int x0 = std::max(0, static_cast<int>(rect.x0 * zoom));
    const int y0 = std::max(0, static_cast<int>(rect.y0 * zoom));
    const int x1 = std::min(image.width, static_cast<int>(rect.x1 * zoom + 0.5));
    const int y1 = std::min(image.height, static_cast<int>(rect.y1 * zoom + 0.5));
    for (int y = y0; y < y1; ++y) {
        for (int x = x0; x < x1; ++x) {
            uint8_t* pixel = &image.pixels[(static_cast<size_t>(y) * image.width + x) * 3];
            for (int c = 0; c < 3; ++c) {
                pixel[c] = static_cast<uint8_t>(pixel[c] * (1 - alpha + alpha * yellow[c]));
            }
        }
    }
}

}  // namespace

// find FILE.pdf WORDS [--json]: every match of the words in the document, as
// the viewer's find marks them: page, label and one rectangle for each line.
int runFindCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    const bool json = takeFlag(args, "--json");
    if (args.size() < 2) throw UsageError("find needs a PDF file and the words to find");
    expectNoMoreArguments(args, 2);
    auto document = PdfViewerDocument::open(args[0]);
    int found = 0;
    auto& out = context.out();
    document->searchDocument(args[1], [&](const PageHit& hit) {
        ++found;
        if (json) {
            nlohmann::ordered_json row;
            row["page"] = hit.pageIndex + 1;
            row["label"] = document->pageLabel(hit.pageIndex);
            row["rects"] = nlohmann::ordered_json::array();
            for (const PageRect& rect : hit.lines) row["rects"].push_back(rectJson(rect));
            out << compactJson(row) << '\n';
        } else {
            out << "page " << hit.pageIndex + 1 << " (" << document->pageLabel(hit.pageIndex)
                << "):";
            for (const PageRect& rect : hit.lines) out << "  " << formatRect(rect);
            out << '\n';
        }
        return true;
    });
    if (found == 0) {
        context.err() << "No match for “" << args[1] << "”." << '\n';
        return 1;
    }
    return 0;
}

// render FILE.pdf PAGE -o FILE.png [--zoom Z] [--highlight TEXT]: the page as
// the viewer draws it, with the passage highlighted line by line.
int runRenderCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    const auto output = takeOption(args, "-o");
    const auto zoomText = takeOption(args, "--zoom");
    const auto highlight = takeOption(args, "--highlight");
    if (args.size() < 2) throw UsageError("render needs a PDF file and a page number");
    if (!output) throw UsageError("render needs -o FILE.png");
    expectNoMoreArguments(args, 2);
    double zoom = 1;
    if (zoomText) {
        try {
            zoom = std::stod(*zoomText);
        } catch (const std::exception&) {
            zoom = 0;
        }
        if (!(zoom >= 0.3 && zoom <= 10)) throw UsageError("the zoom must be between 0.3 and 10");
    }
    auto document = PdfViewerDocument::open(args[0]);
    const int index = parsePage(args[1], *document) - 1;
    auto image = document->render(index, zoom);
    if (!image) {
        context.err() << "Page " << index + 1 << " cannot be drawn." << '\n';
        return 1;
    }
    // The render may have been reduced to stay within bounds.
    const double scale = static_cast<double>(image->width) / document->pageSize(index)->width;
    if (highlight) {
        const auto rects = document->locatePassage(index, *highlight);
        for (const PageRect& rect : rects) paintHighlight(*image, rect, scale);
        context.out() << rects.size() << (rects.size() == 1 ? " line" : " lines") << " highlighted"
                      << '\n';
    }
    writePng(*output, image->width, image->height, image->pixels.data());
    context.out() << "Page " << index + 1 << " (" << document->pageLabel(index) << ") written to "
                  << *output << '\n';
    return 0;
}

}  // namespace folvane
