#include "store/IndexItemJsonReader.h"

#include <charconv>
#include <cstdint>
#include <string>

namespace folvane {

namespace {

class Cursor {
  public:
    explicit Cursor(std::string_view text, size_t position = 0)
        : text_(text), position_(position) {}

    size_t position() const { return position_; }
    bool atEnd() const { return position_ >= text_.size(); }

    void skipSpace() {
        while (position_ < text_.size()) {
            const char c = text_[position_];
            if (c != ' ' && c != '\n' && c != '\r' && c != '\t') break;
            ++position_;
        }
    }

    // Skips white space, then takes `c` if it comes next.
    bool take(char c) {
        skipSpace();
        if (position_ < text_.size() && text_[position_] == c) {
            ++position_;
            return true;
        }
        return false;
    }

    // A JSON number, by the JSON grammar (no "+", no leading zeros, no bare
    // "." and no inf or nan), as a float narrowed from its double.
    bool number(float& value) {
        const size_t start = position_;
        size_t i = position_;
        const auto digit = [&](size_t at) {
            return at < text_.size() && text_[at] >= '0' && text_[at] <= '9';
        };
        if (i < text_.size() && text_[i] == '-') ++i;
        if (!digit(i)) return false;
        if (text_[i] == '0') {
            ++i;
        } else {
            while (digit(i)) ++i;
        }
        if (i < text_.size() && text_[i] == '.') {
            ++i;
            if (!digit(i)) return false;
            while (digit(i)) ++i;
        }
        if (i < text_.size() && (text_[i] == 'e' || text_[i] == 'E')) {
            ++i;
            if (i < text_.size() && (text_[i] == '+' || text_[i] == '-')) ++i;
            if (!digit(i)) return false;
            while (digit(i)) ++i;
        }
        double parsed = 0;
        const auto [end, error] = std::from_chars(text_.data() + start, text_.data() + i, parsed);
        if (error != std::errc() || end != text_.data() + i) return false;
        value = static_cast<float>(parsed);
        position_ = i;
        return true;
    }

    // A JSON string, decoded into `out`. Rejects control characters, unknown
    // escapes, lone surrogates and bytes that are not UTF-8.
    bool string(std::string& out) {
        if (!take('"')) return false;
        out.clear();
        while (position_ < text_.size()) {
            // Copy the run of plain characters in one go.
            size_t run = position_;
            while (run < text_.size()) {
                const auto c = static_cast<unsigned char>(text_[run]);
                if (c == '"' || c == '\\' || c < 0x20 || c >= 0x80) break;
                ++run;
            }
            out.append(text_.data() + position_, run - position_);
            position_ = run;
            if (position_ >= text_.size()) return false;
            const auto c = static_cast<unsigned char>(text_[position_]);
            if (c == '"') {
                ++position_;
                return true;
            }
            if (c < 0x20) return false;
            if (c >= 0x80) {
                if (!utf8Sequence(out)) return false;
                continue;
            }
            if (!escape(out)) return false;
        }
        return false;
    }

  private:
    bool utf8Sequence(std::string& out) {
        const auto byte = [&](size_t at) { return static_cast<unsigned char>(text_[at]); };
        const unsigned char lead = byte(position_);
        size_t length = 0;
        uint32_t codePoint = 0;
        if (lead >= 0xc2 && lead <= 0xdf) {
            length = 2;
            codePoint = lead & 0x1f;
        } else if (lead >= 0xe0 && lead <= 0xef) {
            length = 3;
            codePoint = lead & 0x0f;
        } else if (lead >= 0xf0 && lead <= 0xf4) {
            length = 4;
            codePoint = lead & 0x07;
        } else {
            return false;
        }
        if (position_ + length > text_.size()) return false;
        for (size_t k = 1; k < length; ++k) {
            const unsigned char next = byte(position_ + k);
            if ((next & 0xc0) != 0x80) return false;
            codePoint = (codePoint << 6) | (next & 0x3f);
        }
        // Overlong forms, surrogates and values past U+10FFFF are not UTF-8.
        if ((length == 3 && codePoint < 0x800) || (length == 4 && codePoint < 0x10000) ||
            (codePoint >= 0xd800 && codePoint <= 0xdfff) || codePoint > 0x10ffff) {
            return false;
        }
        out.append(text_.data() + position_, length);
        position_ += length;
        return true;
    }

    bool hex4(uint32_t& value) {
        if (position_ + 4 > text_.size()) return false;
        value = 0;
        for (size_t k = 0; k < 4; ++k) {
            const char c = text_[position_ + k];
            value <<= 4;
            if (c >= '0' && c <= '9') {
                value |= static_cast<uint32_t>(c - '0');
            } else if (c >= 'a' && c <= 'f') {
                value |= static_cast<uint32_t>(c - 'a' + 10);
            } else if (c >= 'A' && c <= 'F') {
                value |= static_cast<uint32_t>(c - 'A' + 10);
            } else {
                return false;
            }
        }
        position_ += 4;
        return true;
    }

    static void appendUtf8(std::string& out, uint32_t codePoint) {
        if (codePoint < 0x80) {
            out.push_back(static_cast<char>(codePoint));
        } else if (codePoint < 0x800) {
            out.push_back(static_cast<char>(0xc0 | (codePoint >> 6)));
            out.push_back(static_cast<char>(0x80 | (codePoint & 0x3f)));
        } else if (codePoint < 0x10000) {
            out.push_back(static_cast<char>(0xe0 | (codePoint >> 12)));
            out.push_back(static_cast<char>(0x80 | ((codePoint >> 6) & 0x3f)));
            out.push_back(static_cast<char>(0x80 | (codePoint & 0x3f)));
        } else {
            out.push_back(static_cast<char>(0xf0 | (codePoint >> 18)));
            out.push_back(static_cast<char>(0x80 | ((codePoint >> 12) & 0x3f)));
            out.push_back(static_cast<char>(0x80 | ((codePoint >> 6) & 0x3f)));
            out.push_back(static_cast<char>(0x80 | (codePoint & 0x3f)));
        }
    }

    // At a backslash.
    bool escape(std::string& out) {
        if (++position_ >= text_.size()) return false;
        const char c = text_[position_++];
        switch (c) {
            case '"':
            case '\\':
            case '/':
                out.push_back(c);
                return true;
            case 'b':
                out.push_back('\b');
                return true;
            case 'f':
                out.push_back('\f');
                return true;
            case 'n':
                out.push_back('\n');
                return true;
            case 'r':
                out.push_back('\r');
                return true;
            case 't':
                out.push_back('\t');
                return true;
            case 'u':
                break;
            default:
                return false;
        }
        uint32_t unit = 0;
        if (!hex4(unit)) return false;
        if (unit >= 0xdc00 && unit <= 0xdfff) return false;
        if (unit >= 0xd800 && unit <= 0xdbff) {
            uint32_t low = 0;
            if (position_ + 2 > text_.size() || text_[position_] != '\\' ||
                text_[position_ + 1] != 'u') {
                return false;
            }
            position_ += 2;
            if (!hex4(low) || low < 0xdc00 || low > 0xdfff) return false;
            unit = 0x10000 + ((unit - 0xd800) << 10) + (low - 0xdc00);
        }
        appendUtf8(out, unit);
        return true;
    }

    std::string_view text_;
    size_t position_;
};

bool readMetadata(Cursor& cursor, std::map<std::string, std::string>& metadata) {
    if (!cursor.take('{')) return false;
    if (cursor.take('}')) return true;
    std::string key;
    std::string value;
    do {
        if (!cursor.string(key) || !cursor.take(':') || !cursor.string(value)) return false;
        // A repeated key keeps its last value, as a JSON library's object does.
        metadata.insert_or_assign(key, value);
    } while (cursor.take(','));
    return cursor.take('}');
}

}  // namespace

bool IndexItemJsonReader::readFloatArray(std::string_view json, size_t& position,
                                         std::vector<float>& out) {
    Cursor cursor(json, position);
    out.clear();
    if (!cursor.take('[')) return false;
    if (!cursor.take(']')) {
        do {
            float value = 0;
            cursor.skipSpace();
            if (!cursor.number(value)) return false;
            out.push_back(value);
        } while (cursor.take(','));
        if (!cursor.take(']')) return false;
    }
    position = cursor.position();
    return true;
}

std::optional<IndexItem> IndexItemJsonReader::read(std::string_view json) {
    Cursor cursor(json);
    IndexItem item;
    if (!cursor.take('{')) return std::nullopt;
    enum Seen : unsigned { id = 1, text = 2, embedding = 4, metadata = 8, all = 15 };
    unsigned seen = 0;
    std::string key;
    do {
        if (!cursor.string(key) || !cursor.take(':')) return std::nullopt;
        unsigned bit = 0;
        bool read = false;
        if (key == "embedding") {
            bit = embedding;
            size_t position = cursor.position();
            read = readFloatArray(json, position, item.embedding);
            cursor = Cursor(json, position);
        } else if (key == "text") {
            bit = text;
            read = cursor.string(item.text);
        } else if (key == "id") {
            bit = id;
            read = cursor.string(item.id);
        } else if (key == "metadata") {
            bit = metadata;
            read = readMetadata(cursor, item.metadata);
        }
        if (!read || (seen & bit)) return std::nullopt;
        seen |= bit;
    } while (cursor.take(','));
    if (!cursor.take('}') || seen != all) return std::nullopt;
    cursor.skipSpace();
    if (!cursor.atEnd()) return std::nullopt;
    return item;
}

}  // namespace folvane
