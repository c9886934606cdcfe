#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Small text operations that the splitters and tokenizers share. Text is UTF-8;
// a "character" is a user-perceived character (an extended grapheme cluster).
namespace folvane::textunits {

// The characters of `text`, in order, as views into it.
std::vector<std::string_view> characters(std::string_view text);

// The number of characters of `text`.
size_t characterCount(std::string_view text);

// True for a tab and for every Unicode space separator (U+0020, U+00A0, U+3000...);
// never for a line end.
bool isSpaceOrTab(char32_t codePoint);

// `text` without spaces and tabs (as above) at either end; line ends stay.
std::string_view trimSpacesAndTabs(std::string_view text);

// `text` cut at every occurrence of `separator`, keeping empty parts. An empty
// separator does not cut: the text is its one part.
std::vector<std::string_view> splitKeepingEmpty(std::string_view text, std::string_view separator);

// The number of non-overlapping occurrences of `needle` (not empty) in `text`.
size_t countOccurrences(std::string_view text, std::string_view needle);

// The length of `text` in UTF-16 code units.
size_t utf16Length(std::string_view text);

// `parts` joined with `separator` between them.
std::string join(const std::vector<std::string>& parts, std::string_view separator);

}  // namespace folvane::textunits
