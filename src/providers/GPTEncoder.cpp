#include "providers/GPTEncoder.h"

#include <unicode/regex.h>
#include <unicode/unistr.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>

namespace folvane {

namespace {

constexpr const char* pretokenizerPattern =
    R"('s|'t|'re|'ve|'m|'ll|'d| ?\p{L}+| ?\p{N}+| ?[^\s\p{L}\p{N}]+|\s+(?!\S)|\s+)";

constexpr uint32_t noRank = std::numeric_limits<uint32_t>::max();

std::string readWholeFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return {};
    std::ostringstream buffer;
    buffer << in.rdbuf();
    if (in.bad()) return {};
    return buffer.str();
}

std::string utf8(char32_t code) {
    std::string out;
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
    return out;
}

// The inverse of the byte encoder: the code point of each mapped character
// (all below U+0144) back to its byte, or -1.
const std::array<int16_t, 0x200>& byteDecoder() {
    static const std::array<int16_t, 0x200> table = [] {
        std::array<int16_t, 0x200> decoded;
        decoded.fill(-1);
        const auto& encoder = GPTEncoder::byteEncoder();
        for (int byte = 0; byte < 256; ++byte) {
            const auto& text = encoder[byte];
            char32_t code = static_cast<unsigned char>(text[0]);
            if (text.size() == 2) code = ((code & 0x1F) << 6) | (text[1] & 0x3F);
            decoded[code] = static_cast<int16_t>(byte);
        }
        return decoded;
    }();
    return table;
}

// The raw bytes of a byte-mapped symbol; false when a character of it is not
// one of the 256 mapped characters.
bool unmapSymbol(std::string_view mapped, std::string& bytes) {
    bytes.clear();
    const auto& decoder = byteDecoder();
    for (size_t i = 0; i < mapped.size();) {
        const auto lead = static_cast<unsigned char>(mapped[i]);
        char32_t code;
        if (lead < 0x80) {
            code = lead;
            i += 1;
        } else if ((lead & 0xE0) == 0xC0 && i + 1 < mapped.size()) {
            code = ((lead & 0x1F) << 6) | (static_cast<unsigned char>(mapped[i + 1]) & 0x3F);
            i += 2;
        } else {
            return false;
        }
        if (code >= decoder.size() || decoder[code] < 0) return false;
        bytes += static_cast<char>(decoder[code]);
    }
    return true;
}

std::string mapBytes(std::string_view bytes) {
    std::string mapped;
    mapped.reserve(bytes.size() * 2);
    const auto& encoder = GPTEncoder::byteEncoder();
    for (unsigned char byte : bytes) mapped += encoder[byte];
    return mapped;
}

std::vector<std::string> splitDropEmpty(std::string_view text, bool (*isSeparator)(char)) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (size_t i = 0; i <= text.size(); ++i) {
        if (i == text.size() || isSeparator(text[i])) {
            if (i > start) parts.emplace_back(text.substr(start, i - start));
            start = i + 1;
        }
    }
    return parts;
}

bool isWhiteSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

uint64_t pairKey(uint32_t left, uint32_t right) {
    return (static_cast<uint64_t>(left) << 32) | right;
}

// UTF-8 length of the UTF-16 units [from, to) of a valid UTF-16 string.
size_t utf8Length(const char16_t* units, int32_t from, int32_t to) {
    size_t bytes = 0;
    for (int32_t i = from; i < to; ++i) {
        const char16_t unit = units[i];
        if (unit < 0x80) {
            bytes += 1;
        } else if (unit < 0x800) {
            bytes += 2;
        } else if (unit >= 0xD800 && unit < 0xDC00 && i + 1 < to) {
            bytes += 4;
            ++i;
        } else {
            bytes += 3;
        }
    }
    return bytes;
}

// Reads the integer members of a top-level JSON object without building a
// document; anything but such an object gives nothing.
class VocabularyReader : public nlohmann::json_sax<nlohmann::json> {
  public:
    std::vector<std::pair<std::string, int>> entries;

    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(number_integer_t value) override { return integer(value); }
    bool number_unsigned(number_unsigned_t value) override {
        return value <= static_cast<number_unsigned_t>(std::numeric_limits<int>::max())
                   ? integer(static_cast<int64_t>(value))
                   : true;
    }
    bool number_float(number_float_t, const string_t&) override { return true; }
    bool string(string_t&) override { return true; }
    bool binary(binary_t&) override { return true; }
    bool start_object(std::size_t) override {
        ++depth_;
        return true;
    }
    bool key(string_t& name) override {
        if (depth_ == 1) key_ = std::move(name);
        return true;
    }
    bool end_object() override {
        --depth_;
        return true;
    }
    bool start_array(std::size_t) override {
        if (depth_ == 0) return false;
        ++depth_;
        return true;
    }
    bool end_array() override {
        --depth_;
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::json::exception&) override {
        return false;
    }

  private:
    bool integer(int64_t value) {
        if (depth_ == 1 && value >= std::numeric_limits<int>::min() &&
            value <= std::numeric_limits<int>::max()) {
            entries.emplace_back(std::move(key_), static_cast<int>(value));
        }
        return true;
    }

    int depth_ = 0;
    std::string key_;
};

std::vector<std::pair<std::string, int>> readVocabulary(const std::string& json) {
    VocabularyReader reader;
    if (!nlohmann::json::sax_parse(json, &reader)) return {};
    return std::move(reader.entries);
}

}  // namespace

struct GPTEncoder::Pretokenizer {
    std::unique_ptr<icu::RegexPattern> pattern;
};

const std::array<std::string, 256>& GPTEncoder::byteEncoder() {
    static const std::array<std::string, 256> table = [] {
        std::array<std::string, 256> encoded;
        char32_t next = 256;
        for (int byte = 0; byte < 256; ++byte) {
            const bool printable = (byte >= 33 && byte <= 126) || (byte >= 161 && byte <= 172) ||
                                   (byte >= 174 && byte <= 255);
            encoded[byte] = utf8(printable ? static_cast<char32_t>(byte) : next++);
        }
        return encoded;
    }();
    return table;
}

size_t GPTEncoder::PieceHash::operator()(std::string_view text) const noexcept {
    // FNV-1a over the bytes: pieces are short, so this beats a generic hash.
    uint64_t hash = 1469598103934665603ULL;
    for (unsigned char byte : text) hash = (hash ^ byte) * 1099511628211ULL;
    return static_cast<size_t>(hash ^ (hash >> 29));
}

GPTEncoder::GPTEncoder(const std::filesystem::path& resourceDirectory)
    : GPTEncoder(Sources{readWholeFile(resourceDirectory / "vocab.bpe"),
                         readWholeFile(resourceDirectory / "encoder.json")}) {}

GPTEncoder::GPTEncoder(Sources sources) : bpeText_(std::move(sources.bpe)) {
    UErrorCode status = U_ZERO_ERROR;
    UParseError parseError;
    std::unique_ptr<icu::RegexPattern> pattern(icu::RegexPattern::compile(
        icu::UnicodeString::fromUTF8(pretokenizerPattern), UREGEX_MULTILINE, parseError, status));
    if (U_SUCCESS(status))
        regex_ = std::make_unique<Pretokenizer>(Pretokenizer{std::move(pattern)});

    byteTokens_.fill(-1);
    std::string bytes;
    for (auto& [symbol, token] : readVocabulary(sources.encoderJson)) {
        if (unmapSymbol(symbol, bytes)) {
            decoder_.emplace(token, bytes);
            if (bytes.size() == 1) byteTokens_[static_cast<unsigned char>(bytes[0])] = token;
        }
        encoder_.insert_or_assign(std::move(symbol), token);
    }
}

GPTEncoder::~GPTEncoder() = default;

const std::vector<std::vector<std::string>>& GPTEncoder::bpeMerges() const {
    ensureRanks();
    return bpeMerges_;
}

void GPTEncoder::ensureRanks() const {
    if (!ranksBuilt_.load(std::memory_order_acquire))
        std::call_once(rankOnce_, [this] { buildRanks(); });
}

void GPTEncoder::buildRanks() const {
    auto lines = splitDropEmpty(bpeText_, [](char c) { return c == '\n'; });
    if (!lines.empty()) lines.erase(lines.begin());  // the version line
    bpeMerges_.reserve(lines.size());
    for (const auto& line : lines) bpeMerges_.push_back(splitDropEmpty(line, isWhiteSpace));

    std::unordered_map<std::string, uint32_t> symbolIds;
    symbols_.reserve(256 + 2 * bpeMerges_.size());
    for (int byte = 0; byte < 256; ++byte) {
        symbols_.emplace_back(1, static_cast<char>(byte));
        symbolIds.emplace(symbols_.back(), byte);
    }
    const auto intern = [&](const std::string& bytes) {
        const auto [found, added] =
            symbolIds.emplace(bytes, static_cast<uint32_t>(symbols_.size()));
        if (added) symbols_.push_back(bytes);
        return found->second;
    };

    bpeRanks_.reserve(bpeMerges_.size());
    std::string left, right;
    for (size_t rank = 0; rank < bpeMerges_.size(); ++rank) {
        const auto& merge = bpeMerges_[rank];
        if (merge.size() != 2) continue;
        // A symbol outside the byte-mapped alphabet never occurs in a piece.
        if (!unmapSymbol(merge[0], left) || !unmapSymbol(merge[1], right)) continue;
        const uint32_t leftId = intern(left);
        const uint32_t rightId = intern(right);
        const uint32_t merged = intern(left + right);
        bpeRanks_[pairKey(leftId, rightId)] = MergeResult{static_cast<uint32_t>(rank), merged};
    }

    symbolTokens_.assign(symbols_.size(), -1);
    for (uint32_t id = 0; id < symbols_.size(); ++id) {
        const auto found = encoder_.find(mapBytes(symbols_[id]));
        if (found != encoder_.end()) symbolTokens_[id] = found->second;
    }
    ranksBuilt_.store(true, std::memory_order_release);
}

void GPTEncoder::mergeSymbols(std::string_view piece, std::vector<uint32_t>& word) const {
    word.clear();
    for (unsigned char byte : piece) word.push_back(byte);
    while (word.size() > 1) {
        // The pair of the lowest rank; distinct pairs never share a rank.
        uint32_t bestRank = noRank;
        uint32_t first = 0, second = 0, merged = 0;
        for (size_t i = 0; i + 1 < word.size(); ++i) {
            const auto found = bpeRanks_.find(pairKey(word[i], word[i + 1]));
            if (found != bpeRanks_.end() && found->second.rank < bestRank) {
                bestRank = found->second.rank;
                first = word[i];
                second = word[i + 1];
                merged = found->second.symbol;
            }
        }
        if (bestRank == noRank) break;
        // Every occurrence, left to right, without overlap.
        size_t out = 0;
        for (size_t i = 0; i < word.size();) {
            if (word[i] == first && i + 1 < word.size() && word[i + 1] == second) {
                word[out++] = merged;
                i += 2;
            } else {
                word[out++] = word[i++];
            }
        }
        word.resize(out);
    }
}

template <typename Sink>
void GPTEncoder::encodePiece(std::string_view piece, std::vector<uint32_t>& word,
                             Sink&& sink) const {
    if (piece.size() == 1) {
        const int32_t token = byteTokens_[static_cast<unsigned char>(piece[0])];
        if (token >= 0) sink(token);
        return;
    }
    {
        std::shared_lock lock(cacheMutex_);
        const auto found = cache_.find(piece);
        if (found != cache_.end()) {
            for (int32_t token : found->second) sink(token);
            return;
        }
    }
    ensureRanks();
    mergeSymbols(piece, word);
    TokenList tokens;
    tokens.reserve(word.size());
    for (uint32_t symbol : word) {
        if (symbolTokens_[symbol] >= 0) tokens.push_back(symbolTokens_[symbol]);
    }
    for (int32_t token : tokens) sink(token);
    std::unique_lock lock(cacheMutex_);
    cache_.try_emplace(std::string(piece), std::move(tokens));
}

template <typename Sink>
void GPTEncoder::forEachPiece(std::string_view text, Sink&& sink) const {
    if (text.empty() || !regex_) return;
    if (text.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max() / 2)) return;
    std::u16string units(text.size(), u'\0');
    int32_t length = 0;
    int32_t substitutions = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(reinterpret_cast<UChar*>(units.data()), static_cast<int32_t>(units.size()),
                         &length, text.data(), static_cast<int32_t>(text.size()), 0xFFFD,
                         &substitutions, &status);
    if (U_FAILURE(status)) return;
    units.resize(length);

    // Pieces are cut from valid UTF-8: the text itself, or its repaired copy.
    std::string repaired;
    std::string_view bytes = text;
    if (substitutions > 0) {
        const auto whole = icu::UnicodeString(false, units.data(), length);
        whole.toUTF8String(repaired);
        bytes = repaired;
    }

    const icu::UnicodeString input(false, units.data(), length);
    std::unique_ptr<icu::RegexMatcher> matcher(regex_->pattern->matcher(input, status));
    if (U_FAILURE(status)) return;
    int32_t unitPosition = 0;
    size_t bytePosition = 0;
    while (matcher->find()) {
        const int32_t start = matcher->start(status);
        const int32_t end = matcher->end(status);
        if (U_FAILURE(status)) return;
        bytePosition += utf8Length(units.data(), unitPosition, start);
        const size_t size = utf8Length(units.data(), start, end);
        sink(bytes.substr(bytePosition, size));
        bytePosition += size;
        unitPosition = end;
    }
}

std::vector<int> GPTEncoder::encode(std::string_view text) const {
    std::vector<int> ids;
    ids.reserve(text.size() / 3);
    std::vector<uint32_t> word;
    forEachPiece(text, [&](std::string_view piece) {
        encodePiece(piece, word, [&](int32_t token) { ids.push_back(token); });
    });
    return ids;
}

size_t GPTEncoder::count(std::string_view text) const {
    size_t total = 0;
    std::vector<uint32_t> word;
    forEachPiece(
        text, [&](std::string_view piece) { encodePiece(piece, word, [&](int32_t) { ++total; }); });
    return total;
}

std::vector<std::string> GPTEncoder::pieces(std::string_view text) const {
    std::vector<std::string> result;
    forEachPiece(text, [&](std::string_view piece) { result.emplace_back(piece); });
    return result;
}

std::string GPTEncoder::bpe(std::string_view piece) const {
    if (piece.size() <= 1) return mapBytes(piece);
    ensureRanks();
    std::vector<uint32_t> word;
    mergeSymbols(piece, word);
    std::string joined;
    for (uint32_t symbol : word) {
        if (!joined.empty()) joined += ' ';
        joined += mapBytes(symbols_[symbol]);
    }
    return joined;
}

std::string GPTEncoder::decode(const std::vector<int>& ids) const {
    std::string text;
    for (int id : ids) {
        const auto found = decoder_.find(id);
        if (found != decoder_.end()) text += found->second;
    }
    return text;
}

}  // namespace folvane
