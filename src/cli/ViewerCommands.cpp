#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <ostream>
#include <string>

#include "cli/ChatSession.h"
#include "cli/CliArguments.h"
#include "cli/CliContext.h"
#include "documents/ChatIndexer.h"
#include "documents/PdfViewerDocument.h"
#include "platform/FileUrl.h"
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

// The text of the index item that a reference cites, looked up in the chat's
// indexes in the order that the viewer's highlight takes them.
std::optional<std::string> citedText(const ChatIndexer* indexer, const Reference& reference) {
    if (!indexer) return std::nullopt;
    const ChatIndexes indexes = indexer->indexes();
    for (const auto& index : {indexes.openai, indexes.openaiNew, indexes.local}) {
        if (!index) continue;
        if (auto item = index->getItem(reference.id)) return item->text;
    }
    return std::nullopt;
}

const DocumentInfo* documentOf(const ChatDetailState& state, int64_t bookmarkId) {
    for (const DocumentInfo& document : state.allDocuments) {
        if (document.bookmark.id == bookmarkId) return &document;
    }
    return nullptr;
}

}  // namespace

// locate CHAT_ID MESSAGE_ID [--json]: where each reference of an answer
// stands in its document, as a page button shows it: the page, its label and
// one rectangle for each line of the cited passage. A reference whose
// document cannot be opened is told on standard error; the others still print.
int runLocateCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    const bool json = takeFlag(args, "--json");
    if (args.size() < 2) throw UsageError("locate needs a chat id and a message id");
    expectNoMoreArguments(args, 2);
    const int64_t chatId = parseId(args[0], "chat id");
    const int64_t messageId = parseId(args[1], "message id");

    ChatSession session(context, chatId);
    session.sync();
    const auto& messages = session.state().messages;
    const auto message = std::find_if(messages.begin(), messages.end(),
                                      [&](const Message& m) { return m.id == messageId; });
    if (message == messages.end()) {
        throw std::runtime_error("No message has the id " + std::to_string(messageId) +
                                 " in this chat.");
    }
    if (!message->references || message->references->empty()) {
        throw std::runtime_error("The message has no references.");
    }
    const std::vector<Reference> references = *message->references;
    session.loadIndexes();
    const ChatIndexer* indexer = session.viewModel().indexer();

    auto& out = context.out();
    int failed = 0;
    int number = 0;
    for (const Reference& reference : references) {
        ++number;
        const DocumentInfo* document = documentOf(session.state(), reference.bookmarkId);
        if (!document) {
            context.err() << "Reference " << number << ": its document is no longer in the chat."
                          << '\n';
            ++failed;
            continue;
        }
        const std::string path = pathFromFileUrl(document->fileUrl).value_or(document->fileUrl);
        if (!reference.page) {
            context.err() << "Reference " << number << " has no page." << '\n';
            continue;
        }
        std::unique_ptr<PdfViewerDocument> pdf;
        try {
            pdf = PdfViewerDocument::open(path);
        } catch (const std::exception& error) {
            context.err() << "Reference " << number << ": " << error.what() << '\n';
            ++failed;
            continue;
        }
        const int page = *reference.page;
        const auto text = citedText(indexer, reference);
        const auto rects = page >= 1 && page <= pdf->pageCount() && text
                               ? pdf->locatePassage(page - 1, *text)
                               : std::vector<PageRect>{};
        const std::string label =
            page >= 1 && page <= pdf->pageCount() ? pdf->pageLabel(page - 1) : std::string{};
        if (json) {
            nlohmann::ordered_json row;
            row["reference"] = number;
            row["id"] = reference.id;
            row["document"] = path;
            row["page"] = page;
            row["label"] = label;
            row["rects"] = nlohmann::ordered_json::array();
            for (const PageRect& rect : rects) row["rects"].push_back(rectJson(rect));
            out << compactJson(row) << '\n';
        } else {
            out << "Reference " << number << ": " << std::filesystem::path(path).filename().string()
                << ", page " << page << " (" << label << "):";
            for (const PageRect& rect : rects) out << "  " << formatRect(rect);
            if (!text) out << "  (the cited text is not in the chat's indexes)";
            out << '\n';
        }
    }
    return failed ? 1 : 0;
}

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
