#include "SimilaritySearchKit/TextUnits.h"

#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <memory>

namespace folvane::textunits {
namespace {

// Plain ASCII without a carriage return has one character per byte, so the
// common case needs no break iterator.
bool isSimpleAscii(std::string_view text) {
    for (unsigned char byte : text) {
        if (byte >= 0x80 || byte == '\r') return false;
    }
    return true;
}

// One character break iterator per thread: making one is costly, and an
// iterator may not be shared between threads.
icu::BreakIterator* characterBreaks() {
    thread_local std::unique_ptr<icu::BreakIterator> iterator = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> made(
            icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
        return U_SUCCESS(status) ? std::move(made) : nullptr;
    }();
    return iterator.get();
}

// Calls `visit(begin, end)` with the byte range of each character.
template <typename Visit>
void forEachCharacter(std::string_view text, Visit&& visit) {
    if (text.empty()) return;
    icu::BreakIterator* iterator = isSimpleAscii(text) ? nullptr : characterBreaks();
    if (!iterator) {
        for (size_t i = 0; i < text.size(); ++i) visit(i, i + 1);
        return;
    }
    UErrorCode status = U_ZERO_ERROR;
    UText* utext = utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &status);
    iterator->setText(utext, status);
    if (U_FAILURE(status)) {
        utext_close(utext);
        for (size_t i = 0; i < text.size(); ++i) visit(i, i + 1);
        return;
    }
    int32_t begin = iterator->first();
    for (int32_t end = iterator->next(); end != icu::BreakIterator::DONE;
         begin = end, end = iterator->next()) {
        visit(static_cast<size_t>(begin), static_cast<size_t>(end));
    }
    utext_close(utext);
}

}  // namespace

std::vector<std::string_view> characters(std::string_view text) {
    std::vector<std::string_view> result;
    result.reserve(text.size());
    forEachCharacter(
        text, [&](size_t begin, size_t end) { result.push_back(text.substr(begin, end - begin)); });
    return result;
}

size_t characterCount(std::string_view text) {
    size_t count = 0;
    forEachCharacter(text, [&](size_t, size_t) { ++count; });
    return count;
}

bool isSpaceOrTab(char32_t codePoint) {
    return codePoint == U'\t' || u_charType(static_cast<UChar32>(codePoint)) == U_SPACE_SEPARATOR;
}

std::string_view trimSpacesAndTabs(std::string_view text) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto length = static_cast<int32_t>(text.size());
    int32_t begin = 0;
    while (begin < length) {
        int32_t next = begin;
        UChar32 c;
        U8_NEXT(bytes, next, length, c);
        if (c < 0 || !isSpaceOrTab(static_cast<char32_t>(c))) break;
        begin = next;
    }
    int32_t end = length;
    while (end > begin) {
        int32_t previous = end;
        UChar32 c;
        U8_PREV(bytes, begin, previous, c);
        if (c < 0 || !isSpaceOrTab(static_cast<char32_t>(c))) break;
        end = previous;
    }
    return text.substr(static_cast<size_t>(begin), static_cast<size_t>(end - begin));
}

std::vector<std::string_view> splitKeepingEmpty(std::string_view text, std::string_view separator) {
    if (separator.empty()) return {text};
    std::vector<std::string_view> parts;
    size_t start = 0;
    for (size_t found = text.find(separator); found != std::string_view::npos;
         found = text.find(separator, start)) {
        parts.push_back(text.substr(start, found - start));
        start = found + separator.size();
    }
    parts.push_back(text.substr(start));
    return parts;
}

size_t countOccurrences(std::string_view text, std::string_view needle) {
    if (needle.empty()) return 0;
    size_t count = 0;
    for (size_t found = text.find(needle); found != std::string_view::npos;
         found = text.find(needle, found + needle.size())) {
        ++count;
    }
    return count;
}

size_t utf16Length(std::string_view text) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto length = static_cast<int32_t>(text.size());
    size_t units = 0;
    for (int32_t i = 0; i < length;) {
        UChar32 c;
        U8_NEXT(bytes, i, length, c);
        units += (c > 0xFFFF) ? 2 : 1;
    }
    return units;
}

std::string join(const std::vector<std::string>& parts, std::string_view separator) {
    std::string result;
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i > 0) result += separator;
        result += parts[i];
    }
    return result;
}

}  // namespace folvane::textunits
