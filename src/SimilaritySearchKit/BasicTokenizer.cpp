#include "SimilaritySearchKit/BasicTokenizer.h"

#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <algorithm>

#include "SimilaritySearchKit/TextUnits.h"

namespace folvane {
namespace {

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string lowerCased(std::string_view text) {
    if (isAscii(text)) {
        std::string result(text);
        for (char& c : result) {
            if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        }
        return result;
    }
    icu::UnicodeString unicode = icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    unicode.toLower(icu::Locale::getRoot());
    std::string result;
    unicode.toUTF8String(result);
    return result;
}

// A character joins a word when its first code point is a letter (alphabetic)
// or a number (any numeric type), or when it is the degree sign.
bool isWordCharacter(std::string_view character) {
    if (character == "°") return true;
    const auto* bytes = reinterpret_cast<const uint8_t*>(character.data());
    int32_t offset = 0;
    UChar32 first;
    U8_NEXT(bytes, offset, static_cast<int32_t>(character.size()), first);
    if (first < 0) return false;
    return u_hasBinaryProperty(first, UCHAR_ALPHABETIC) ||
           u_getIntPropertyValue(first, UCHAR_NUMERIC_TYPE) != U_NT_NONE;
}

}  // namespace

std::string foldDiacritics(std::string_view text) {
    if (isAscii(text)) return std::string(text);
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* decompose = icu::Normalizer2::getNFDInstance(status);
    const icu::Normalizer2* compose = icu::Normalizer2::getNFCInstance(status);
    if (U_FAILURE(status)) return std::string(text);
    const icu::UnicodeString source = icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    const icu::UnicodeString decomposed = decompose->normalize(source, status);
    icu::UnicodeString stripped;
    for (int32_t i = 0; i < decomposed.length();) {
        const UChar32 c = decomposed.char32At(i);
        if (u_charType(c) != U_NON_SPACING_MARK) stripped.append(c);
        i += U16_LENGTH(c);
    }
    const icu::UnicodeString composed = compose->normalize(stripped, status);
    if (U_FAILURE(status)) return std::string(text);
    std::string result;
    composed.toUTF8String(result);
    return result;
}

BasicTokenizer::BasicTokenizer(std::vector<std::string> neverSplit)
    : neverSplit_(std::move(neverSplit)) {}

std::vector<std::string> BasicTokenizer::tokenize(std::string_view text) const {
    const std::string folded = foldDiacritics(text);
    std::vector<std::string> tokens;

    auto addPiece = [&](std::string_view piece) {
        if (piece.empty()) return;
        if (std::find(neverSplit_.begin(), neverSplit_.end(), piece) != neverSplit_.end()) {
            tokens.emplace_back(piece);
            return;
        }
        const std::string lower = lowerCased(piece);
        std::string word;
        for (std::string_view character : textunits::characters(lower)) {
            if (isWordCharacter(character)) {
                word += character;
                continue;
            }
            if (!word.empty()) tokens.push_back(std::move(word));
            word.clear();
            tokens.emplace_back(character);
        }
        if (!word.empty()) tokens.push_back(std::move(word));
    };

    const auto* bytes = reinterpret_cast<const uint8_t*>(folded.data());
    const auto length = static_cast<int32_t>(folded.size());
    int32_t pieceStart = 0;
    for (int32_t i = 0; i < length;) {
        const int32_t here = i;
        UChar32 c;
        U8_NEXT(bytes, i, length, c);
        if (c >= 0 && textunits::isSpaceOrTab(static_cast<char32_t>(c))) {
            addPiece(std::string_view(folded).substr(static_cast<size_t>(pieceStart),
                                                     static_cast<size_t>(here - pieceStart)));
            pieceStart = i;
        }
    }
    addPiece(std::string_view(folded).substr(static_cast<size_t>(pieceStart)));
    return tokens;
}

}  // namespace folvane
