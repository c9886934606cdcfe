#include "documents/CharacterCount.h"

#include <unicode/ubrk.h>
#include <unicode/utext.h>

#include <algorithm>
#include <memory>

namespace folvane {

namespace {

struct BreakIteratorCloser {
    void operator()(UBreakIterator* iterator) const { ubrk_close(iterator); }
};

bool isAscii(std::string_view text) {
    for (char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80) return false;
    }
    return true;
}

// ASCII text has one character per byte but for "\r\n", which is one.
size_t countAscii(std::string_view text, size_t limit) {
    size_t count = 0;
    for (size_t i = 0; i < text.size() && count < limit; ++i) {
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
        ++count;
    }
    return count;
}

}  // namespace

size_t countCharacters(std::string_view text, size_t limit) {
    if (isAscii(text)) return countAscii(text, limit);
    UErrorCode status = U_ZERO_ERROR;
    UText* utext = utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &status);
    if (U_FAILURE(status)) return std::min(text.size(), limit);
    std::unique_ptr<UBreakIterator, BreakIteratorCloser> iterator(
        ubrk_open(UBRK_CHARACTER, "", nullptr, 0, &status));
    size_t count = 0;
    if (U_SUCCESS(status)) ubrk_setUText(iterator.get(), utext, &status);
    if (U_SUCCESS(status)) {
        ubrk_first(iterator.get());
        while (count < limit && ubrk_next(iterator.get()) != UBRK_DONE) ++count;
    } else {
        count = std::min(text.size(), limit);
    }
    utext_close(utext);
    return count;
}

}  // namespace folvane
