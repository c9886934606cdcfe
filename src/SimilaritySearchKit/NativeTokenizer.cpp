#include "SimilaritySearchKit/NativeTokenizer.h"

#include <unicode/brkiter.h>
#include <unicode/ubrk.h>
#include <unicode/utext.h>

#include <memory>

#include "SimilaritySearchKit/TextUnits.h"

namespace folvane {
namespace {

// One word break iterator per thread: making one is costly, and an iterator
// may not be shared between threads.
icu::BreakIterator* wordBreaks() {
    thread_local std::unique_ptr<icu::BreakIterator> iterator = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> made(
            icu::BreakIterator::createWordInstance(icu::Locale::getRoot(), status));
        return U_SUCCESS(status) ? std::move(made) : nullptr;
    }();
    return iterator.get();
}

}  // namespace

std::vector<std::string> NativeTokenizer::tokenize(std::string_view text) const {
    std::vector<std::string> words;
    icu::BreakIterator* iterator = wordBreaks();
    if (text.empty() || !iterator) return words;
    UErrorCode status = U_ZERO_ERROR;
    UText* utext = utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &status);
    iterator->setText(utext, status);
    if (U_SUCCESS(status)) {
        int32_t begin = iterator->first();
        for (int32_t end = iterator->next(); end != icu::BreakIterator::DONE;
             begin = end, end = iterator->next()) {
            const int32_t rule = iterator->getRuleStatus();
            if (rule >= UBRK_WORD_NONE && rule < UBRK_WORD_NONE_LIMIT) continue;
            words.emplace_back(
                text.substr(static_cast<size_t>(begin), static_cast<size_t>(end - begin)));
        }
    }
    utext_close(utext);
    return words;
}

std::string NativeTokenizer::detokenize(const std::vector<std::string>& tokens) const {
    return textunits::join(tokens, " ");
}

}  // namespace folvane
