#include "documents/PdfPageOcr.h"

#include "documents/OcrError.h"
#include "documents/TesseractTextRecognizer.h"

namespace folvane {

PdfPageOcr::PdfPageOcr(RecognitionLevel level) : level_(level) {}

PdfPageOcr::~PdfPageOcr() = default;

std::vector<TextLine> PdfPageOcr::lines(int index, const PageRenderer& render) {
    std::lock_guard lock(mutex_);
    if (auto known = pages_.find(index); known != pages_.end()) return known->second;
    std::vector<TextLine> lines;
    const int resolution = renderResolution(level_);
    if (auto image = render(resolution)) {
        if (!recognizer_) recognizer_ = std::make_unique<TesseractTextRecognizer>();
        std::vector<RecognizedLine> read;
        try {
            read = recognizer_->recognizeLines(*image, level_);
        } catch (const OcrError&) {
            // A page that cannot be read holds no lines, like a blank one.
        }
        const double scale = 72.0 / resolution;
        auto points = [scale](int x0, int y0, int x1, int y1) {
            return PageRect{x0 * scale, y0 * scale, x1 * scale, y1 * scale};
        };
        for (const RecognizedLine& line : read) {
            TextLine out;
            out.rect = points(line.x0, line.y0, line.x1, line.y1);
            for (const auto& symbol : line.symbols) {
                out.chars.push_back(
                    {points(symbol.x0, symbol.y0, symbol.x1, symbol.y1), symbol.text});
            }
            lines.push_back(std::move(out));
        }
    }
    pages_[index] = lines;
    return lines;
}

}  // namespace folvane
