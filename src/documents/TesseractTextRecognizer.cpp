#include "documents/TesseractTextRecognizer.h"

#include <dlfcn.h>
#include <tesseract/baseapi.h>
#include <tesseract/resultiterator.h>

#include <algorithm>
#include <cstdlib>
#include <mutex>

#include "documents/OcrError.h"

namespace folvane {

namespace {

// Tesseract's OpenMP loops slow a page down when several pages run at once.
// The OpenMP runtime reads OMP_THREAD_LIMIT once, when it is loaded (before
// main), and Tesseract asks for its team sizes explicitly, so neither the
// variable set now nor omp_set_num_threads holds them. What does: no active
// nesting level at all on the recognizing thread, which makes every parallel
// region it meets run on that thread alone. The runtime's entry points are
// looked up, so nothing changes when Tesseract is built without OpenMP.
void limitOpenMpToOneThread() {
    setenv("OMP_THREAD_LIMIT", "1", 0);
    using SetInt = void (*)(int);
    static const auto setMaxActiveLevels =
        reinterpret_cast<SetInt>(dlsym(RTLD_DEFAULT, "omp_set_max_active_levels"));
    static const auto setNumThreads =
        reinterpret_cast<SetInt>(dlsym(RTLD_DEFAULT, "omp_set_num_threads"));
    if (setMaxActiveLevels) setMaxActiveLevels(0);
    if (setNumThreads) setNumThreads(1);
}

std::string resolveDataPath(std::string dataPath) {
    if (!dataPath.empty()) return dataPath;
    if (const char* prefix = std::getenv("TESSDATA_PREFIX"); prefix && *prefix) return prefix;
    return TesseractTextRecognizer::defaultDataPath;
}

// A line's text without its line end and trailing blanks.
std::string trimLineEnd(const char* text) {
    std::string line(text);
    while (!line.empty() && (line.back() == '\n' || line.back() == ' ')) line.pop_back();
    return line;
}

// Setting a parameter writes to memory that Tesseract shares between its
// engines, so engines on several workers set theirs one at a time.
std::mutex parameterLock;

void setParameter(tesseract::TessBaseAPI& api, const char* name, const char* value) {
    std::lock_guard lock(parameterLock);
    api.SetVariable(name, value);
}

}  // namespace

TesseractTextRecognizer::TesseractTextRecognizer(std::string dataPath)
    : dataPath_(resolveDataPath(std::move(dataPath))) {}

TesseractTextRecognizer::~TesseractTextRecognizer() {
    if (api_) api_->End();
}

bool TesseractTextRecognizer::ensureModel() {
    if (api_) return true;
    if (failed_) return false;
    limitOpenMpToOneThread();
    auto api = std::make_unique<tesseract::TessBaseAPI>();
    if (api->Init(dataPath_.c_str(), "eng", tesseract::OEM_LSTM_ONLY) != 0) {
        failed_ = true;
        return false;
    }
    api->SetPageSegMode(tesseract::PSM_AUTO);
    setParameter(*api, "debug_file", "/dev/null");
    api_ = std::move(api);
    return true;
}

void TesseractTextRecognizer::recognize(const PageImage& image, RecognitionLevel level) {
    if (image.width <= 0 || image.height <= 0 ||
        image.pixels.size() < static_cast<size_t>(image.width) * image.height) {
        throw OcrError::recognitionRequestFailed();
    }
    if (!ensureModel()) throw OcrError::recognitionRequestFailed();
    limitOpenMpToOneThread();
    // The second pass over doubtful lines, read as white on black, is what the
    // fast level leaves out.
    const char* invert = level == RecognitionLevel::fast ? "0" : "1";
    if (invert != invertPass_) {
        setParameter(*api_, "tessedit_do_invert", invert);
        invertPass_ = invert;
    }
    api_->SetImage(image.pixels.data(), image.width, image.height, 1, image.width);
    api_->SetSourceResolution(image.resolution);
    if (api_->Recognize(nullptr) != 0) {
        api_->Clear();
        throw OcrError::recognitionRequestFailed();
    }
}

std::vector<std::string> TesseractTextRecognizer::recognizeText(const PageImage& image,
                                                                RecognitionLevel level) {
    recognize(image, level);
    std::unique_ptr<tesseract::ResultIterator> lines(api_->GetIterator());
    if (!lines) {
        api_->Clear();
        throw OcrError::noResults();
    }
    std::vector<std::string> result;
    if (!lines->Empty(tesseract::RIL_TEXTLINE)) {
        do {
            // A new paragraph (or block) after the first is marked by an empty line.
            if (!result.empty() && lines->IsAtBeginningOf(tesseract::RIL_PARA)) {
                result.emplace_back();
            }
            std::unique_ptr<char[]> text(lines->GetUTF8Text(tesseract::RIL_TEXTLINE));
            if (text) result.push_back(trimLineEnd(text.get()));
        } while (lines->Next(tesseract::RIL_TEXTLINE));
    }
    lines.reset();
    api_->Clear();
    return result;
}

std::vector<RecognizedLine> TesseractTextRecognizer::recognizeLines(const PageImage& image,
                                                                    RecognitionLevel level) {
    recognize(image, level);
    std::unique_ptr<tesseract::ResultIterator> at(api_->GetIterator());
    if (!at) {
        api_->Clear();
        throw OcrError::noResults();
    }
    std::vector<RecognizedLine> result;
    if (!at->Empty(tesseract::RIL_SYMBOL)) {
        do {
            RecognizedLine::Symbol symbol;
            at->BoundingBox(tesseract::RIL_SYMBOL, &symbol.x0, &symbol.y0, &symbol.x1, &symbol.y1);
            std::unique_ptr<char[]> text(at->GetUTF8Text(tesseract::RIL_SYMBOL));
            if (!text) continue;
            symbol.text = text.get();
            if (result.empty() || at->IsAtBeginningOf(tesseract::RIL_TEXTLINE)) {
                RecognizedLine& line = result.emplace_back();
                at->BoundingBox(tesseract::RIL_TEXTLINE, &line.x0, &line.y0, &line.x1, &line.y1);
            } else if (at->IsAtBeginningOf(tesseract::RIL_WORD) && !result.back().symbols.empty()) {
                const RecognizedLine::Symbol& last = result.back().symbols.back();
                result.back().symbols.push_back({last.x1, std::min(last.y0, symbol.y0),
                                                 std::max(last.x1, symbol.x0),
                                                 std::max(last.y1, symbol.y1), " "});
            }
            result.back().symbols.push_back(std::move(symbol));
        } while (at->Next(tesseract::RIL_SYMBOL));
    }
    at.reset();
    api_->Clear();
    return result;
}

}  // namespace folvane
