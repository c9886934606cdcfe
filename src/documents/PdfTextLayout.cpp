#include "documents/PdfTextLayout.h"

extern "C" {
#include <mupdf/fitz.h>
}

#include <algorithm>
#include <cmath>
#include <limits>

namespace folvane::text_layout {

namespace {

// A code point of the lines read as one text, with the character it came
// from; a line break stands between two lines as a blank of no character.
struct Letter {
    int rune;
    int line;
    int index;  // in the line; -1 for a line break
};

bool isBlank(int rune) {
    return rune == ' ' || rune == '\t' || rune == '\n' || rune == '\r' || rune == 0xa0;
}

std::vector<int> runesOf(std::string_view text) {
    std::vector<int> runes;
    const std::string terminated(text);
    const char* at = terminated.c_str();
    while (*at) {
        int rune = 0;
        at += fz_chartorune(&rune, at);
        runes.push_back(rune);
    }
    return runes;
}

std::vector<Letter> lettersOf(const std::vector<TextLine>& lines) {
    std::vector<Letter> letters;
    for (size_t l = 0; l < lines.size(); ++l) {
        if (l > 0) letters.push_back({' ', static_cast<int>(l), -1});
        const auto& chars = lines[l].chars;
        for (size_t c = 0; c < chars.size(); ++c) {
            for (int rune : runesOf(chars[c].text)) {
                letters.push_back({fz_tolower(rune), static_cast<int>(l), static_cast<int>(c)});
            }
        }
    }
    return letters;
}

// The needle lower-cased, each run of blanks made one blank, none at its ends.
std::vector<int> patternOf(std::string_view needle) {
    std::vector<int> pattern;
    for (int rune : runesOf(needle)) {
        if (isBlank(rune)) {
            if (!pattern.empty() && pattern.back() != ' ') pattern.push_back(' ');
        } else {
            pattern.push_back(fz_tolower(rune));
        }
    }
    if (!pattern.empty() && pattern.back() == ' ') pattern.pop_back();
    return pattern;
}

// The end of a match of pattern starting at letters[start], or 0 for none.
size_t matchAt(const std::vector<Letter>& letters, size_t start, const std::vector<int>& pattern) {
    size_t at = start;
    for (int rune : pattern) {
        if (at >= letters.size()) return 0;
        if (rune == ' ') {
            if (!isBlank(letters[at].rune)) return 0;
            while (at < letters.size() && isBlank(letters[at].rune)) ++at;
        } else {
            if (letters[at].rune != rune) return 0;
            ++at;
        }
    }
    return at;
}

PageRect unite(const PageRect& a, const PageRect& b) {
    return {std::min(a.x0, b.x0), std::min(a.y0, b.y0), std::max(a.x1, b.x1), std::max(a.y1, b.y1)};
}

double distance(double value, double low, double high) {
    if (value < low) return low - value;
    if (value > high) return value - high;
    return 0;
}

// The line and character nearest to a point: the line whose band is nearest
// vertically (then horizontally), and in it the character nearest by x.
std::pair<int, int> nearest(const std::vector<TextLine>& lines, double x, double y) {
    std::pair<int, int> best{-1, -1};
    double bestScore = std::numeric_limits<double>::max();
    for (size_t l = 0; l < lines.size(); ++l) {
        const PageRect& r = lines[l].rect;
        if (lines[l].chars.empty()) continue;
        const double score = distance(y, r.y0, r.y1) * 1000 + distance(x, r.x0, r.x1);
        if (score < bestScore) {
            bestScore = score;
            best.first = static_cast<int>(l);
        }
    }
    if (best.first < 0) return best;
    const auto& chars = lines[static_cast<size_t>(best.first)].chars;
    double bestX = std::numeric_limits<double>::max();
    for (size_t c = 0; c < chars.size(); ++c) {
        const double d = distance(x, chars[c].box.x0, chars[c].box.x1);
        if (d < bestX) {
            bestX = d;
            best.second = static_cast<int>(c);
        }
    }
    return best;
}

}  // namespace

std::vector<TextLine> linesOf(fz_context*, fz_stext_page* page) {
    std::vector<TextLine> lines;
    if (!page) return lines;
    for (fz_stext_block* block = page->first_block; block; block = block->next) {
        if (block->type != FZ_STEXT_BLOCK_TEXT) continue;
        for (fz_stext_line* line = block->u.t.first_line; line; line = line->next) {
            TextLine out;
            out.rect = {line->bbox.x0, line->bbox.y0, line->bbox.x1, line->bbox.y1};
            for (fz_stext_char* ch = line->first_char; ch; ch = ch->next) {
                const fz_rect box = fz_rect_from_quad(ch->quad);
                char utf8[FZ_UTFMAX];
                out.chars.push_back(
                    {{box.x0, box.y0, box.x1, box.y1},
                     std::string(utf8, static_cast<size_t>(fz_runetochar(utf8, ch->c)))});
            }
            lines.push_back(std::move(out));
        }
    }
    return lines;
}

std::vector<PageHit> search(const std::vector<TextLine>& lines, std::string_view needle,
                            int pageIndex) {
    std::vector<PageHit> hits;
    const std::vector<int> pattern = patternOf(needle);
    if (pattern.empty()) return hits;
    const std::vector<Letter> letters = lettersOf(lines);
    size_t start = 0;
    while (start < letters.size()) {
        const size_t end = matchAt(letters, start, pattern);
        if (end == 0) {
            ++start;
            continue;
        }
        PageHit hit{pageIndex, {}};
        int lastLine = -1;
        for (size_t i = start; i < end; ++i) {
            const Letter& letter = letters[i];
            if (letter.index < 0) continue;
            const PageRect& box = lines[static_cast<size_t>(letter.line)]
                                      .chars[static_cast<size_t>(letter.index)]
                                      .box;
            if (letter.line != lastLine) {
                hit.lines.push_back(box);
                lastLine = letter.line;
            } else {
                hit.lines.back() = unite(hit.lines.back(), box);
            }
        }
        hits.push_back(std::move(hit));
        start = end;
    }
    return hits;
}

std::string between(const std::vector<TextLine>& lines, double fromX, double fromY, double toX,
                    double toY) {
    auto from = nearest(lines, fromX, fromY);
    auto to = nearest(lines, toX, toY);
    if (from.first < 0) return {};
    if (to < from) std::swap(from, to);
    std::string out;
    for (int l = from.first; l <= to.first; ++l) {
        const auto& chars = lines[static_cast<size_t>(l)].chars;
        const int first = l == from.first ? from.second : 0;
        const int last = l == to.first ? to.second : static_cast<int>(chars.size()) - 1;
        if (l > from.first) out += '\n';
        for (int c = first; c <= last; ++c) out += chars[static_cast<size_t>(c)].text;
    }
    return out;
}

}  // namespace folvane::text_layout
