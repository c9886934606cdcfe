#include "SimilaritySearchKit/NativeEmbeddings.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace folvane {

namespace {

// Relative weights of the kinds of feature. Pairs of content words carry
// phrases ("proof of work" gives proof+work); the leading letters of a long
// word let "encryption" meet "encrypted"; stop words count a little, so a
// text made only of them still has a direction.
constexpr float contentWeight = 1.0f;
constexpr float stopWordWeight = 0.2f;
constexpr float pairWeight = 0.6f;
constexpr float prefixWeight = 0.4f;
constexpr float symbolWeight = 1.0f;
constexpr size_t prefixLength = 5;
constexpr size_t prefixFromLength = 7;

// Seeds that keep the kinds of feature apart in the hash space.
constexpr uint64_t wordSeed = 0x9e3779b97f4a7c15ULL;
constexpr uint64_t prefixSeed = 0xc2b2ae3d27d4eb4fULL;
constexpr uint64_t symbolSeed = 0x165667b19e3779f9ULL;

// FNV-1a over the bytes, then a 64-bit finaliser so that the low bits (the
// bucket) and the top bit (the sign) are both well mixed.
uint64_t mix(uint64_t x) {
    x ^= x >> 30;
    x *= 0xbf58476d1ce4e5b9ULL;
    x ^= x >> 27;
    x *= 0x94d049bb133111ebULL;
    x ^= x >> 31;
    return x;
}

uint64_t hashBytes(std::string_view bytes, uint64_t seed) {
    uint64_t hash = 0xcbf29ce484222325ULL ^ seed;
    for (unsigned char c : bytes) {
        hash ^= c;
        hash *= 0x100000001b3ULL;
    }
    return mix(hash);
}

uint64_t hashPair(uint64_t first, uint64_t second) {
    return mix(first * 0x9ddfea08eb382d69ULL + (second ^ 0x2545f4914f6cdd1dULL));
}

// English function words, sorted for binary search.
constexpr std::array<std::string_view, 132> stopWords{
    "a",         "about",      "above",    "after",      "again", "against", "all",     "also",
    "am",        "an",         "and",      "any",        "are",   "as",      "at",      "be",
    "because",   "been",       "before",   "being",      "below", "between", "both",    "but",
    "by",        "can",        "could",    "did",        "do",    "does",    "doing",   "down",
    "during",    "each",       "few",      "for",        "from",  "further", "had",     "has",
    "have",      "having",     "he",       "her",        "here",  "hers",    "herself", "him",
    "himself",   "his",        "how",      "i",          "if",    "in",      "into",    "is",
    "it",        "its",        "itself",   "just",       "me",    "might",   "more",    "most",
    "must",      "my",         "myself",   "no",         "nor",   "not",     "now",     "of",
    "off",       "on",         "once",     "only",       "or",    "other",   "our",     "ours",
    "ourselves", "out",        "over",     "own",        "same",  "shall",   "she",     "should",
    "so",        "some",       "such",     "than",       "that",  "the",     "their",   "theirs",
    "them",      "themselves", "then",     "there",      "these", "they",    "this",    "those",
    "through",   "to",         "too",      "under",      "until", "up",      "upon",    "very",
    "was",       "we",         "were",     "what",       "when",  "where",   "which",   "while",
    "who",       "whom",       "whose",    "why",        "will",  "with",    "would",   "you",
    "your",      "yours",      "yourself", "yourselves",
};

bool isStopWord(std::string_view word) {
    return std::binary_search(stopWords.begin(), stopWords.end(), word);
}

bool isAsciiLetter(char c) {
    return (c >= 'a' && c <= 'z');
}

bool isVowel(const std::string& word, size_t i) {
    switch (word[i]) {
        case 'a':
        case 'e':
        case 'i':
        case 'o':
        case 'u':
            return true;
        case 'y':
            return i > 0 && !isVowel(word, i - 1);
        default:
            return false;
    }
}

bool hasVowel(const std::string& word, size_t end) {
    for (size_t i = 0; i < end; ++i) {
        if (isVowel(word, i)) return true;
    }
    return false;
}

bool endsWith(const std::string& word, std::string_view suffix) {
    return word.size() >= suffix.size() &&
           std::string_view(word).substr(word.size() - suffix.size()) == suffix;
}

// The first step of Porter's stemmer: plurals, -ed and -ing, a final y. It is
// cheap and makes the common inflections of a word meet.
void stemEnglish(std::string& word) {
    if (word.size() <= 3) return;
    if (endsWith(word, "sses")) {
        word.resize(word.size() - 2);
    } else if (endsWith(word, "ies")) {
        word.resize(word.size() - 2);
    } else if (endsWith(word, "ss") || endsWith(word, "us") || endsWith(word, "is")) {
        // "class", "status", "analysis" keep their s.
    } else if (word.back() == 's') {
        word.pop_back();
    }

    bool removed = false;
    if (endsWith(word, "eed")) {
        if (word.size() > 4) word.pop_back();
    } else if (endsWith(word, "ed") && hasVowel(word, word.size() - 2)) {
        word.resize(word.size() - 2);
        removed = true;
    } else if (endsWith(word, "ing") && word.size() > 5 && hasVowel(word, word.size() - 3)) {
        word.resize(word.size() - 3);
        removed = true;
    }
    if (removed) {
        const size_t n = word.size();
        if (endsWith(word, "at") || endsWith(word, "bl") || endsWith(word, "iz")) {
            word.push_back('e');
        } else if (n >= 2 && word[n - 1] == word[n - 2] && !isVowel(word, n - 1) &&
                   word[n - 1] != 'l' && word[n - 1] != 's' && word[n - 1] != 'z') {
            word.pop_back();
        }
    }
    if (word.size() > 2 && word.back() == 'y' && hasVowel(word, word.size() - 1)) {
        word.back() = 'i';
    }
    // A final e is dropped so that "encode" meets "encoded" and "encoding".
    if (word.size() > 4 && word.back() == 'e') word.pop_back();
}

// Lower case without accents: NFKD (which also opens ligatures such as "ﬁ"),
// case folding, then every combining mark removed.
std::string foldWord(std::string_view word) {
    bool ascii = true;
    for (unsigned char c : word) ascii = ascii && c < 0x80;
    if (ascii) {
        std::string folded(word);
        for (char& c : folded) {
            if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
        }
        return folded;
    }
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* nfkd = icu::Normalizer2::getNFKDInstance(status);
    icu::UnicodeString text = icu::UnicodeString::fromUTF8(
        icu::StringPiece(word.data(), static_cast<int32_t>(word.size())));
    if (U_SUCCESS(status)) {
        icu::UnicodeString decomposed = nfkd->normalize(text, status);
        if (U_SUCCESS(status)) text = decomposed;
    }
    text.foldCase();
    icu::UnicodeString kept;
    for (int32_t i = 0; i < text.length();) {
        const UChar32 c = text.char32At(i);
        if (u_charType(c) != U_NON_SPACING_MARK) kept.append(c);
        i += U16_LENGTH(c);
    }
    std::string folded;
    kept.toUTF8String(folded);
    return folded;
}

// "museum's" counts as "museum", "don't" as "dont".
void dropApostrophes(std::string& word) {
    for (std::string_view possessive : {"'s", "\u2019s"}) {
        if (word.size() > possessive.size() &&
            std::string_view(word).substr(word.size() - possessive.size()) == possessive) {
            word.resize(word.size() - possessive.size());
            break;
        }
    }
    for (std::string_view apostrophe : {"'", "\u2019"}) {
        for (size_t at = word.find(apostrophe); at != std::string::npos;
             at = word.find(apostrophe)) {
            word.erase(at, apostrophe.size());
        }
    }
}

struct Feature {
    uint64_t hash;
    float weight;
};

void addFeature(std::vector<Feature>& features, uint64_t hash, float weight) {
    features.push_back(Feature{hash, weight});
}

// Sums the features into the buckets with 1 + ln(count) as the term weight,
// then scales the vector to unit length.
std::vector<float> project(std::vector<Feature>& features) {
    std::vector<float> vector(NativeEmbeddings::dimension, 0.0f);
    std::sort(features.begin(), features.end(),
              [](const Feature& a, const Feature& b) { return a.hash < b.hash; });
    for (size_t i = 0; i < features.size();) {
        size_t end = i + 1;
        while (end < features.size() && features[end].hash == features[i].hash) ++end;
        const uint64_t hash = features[i].hash;
        const float termWeight = 1.0f + std::log(static_cast<float>(end - i));
        const float value = termWeight * features[i].weight;
        const size_t bucket = static_cast<size_t>(hash & (NativeEmbeddings::dimension - 1));
        vector[bucket] += (hash >> 63) ? -value : value;
        i = end;
    }
    double norm = 0;
    for (float v : vector) norm += static_cast<double>(v) * v;
    if (norm > 0) {
        const float scale = static_cast<float>(1.0 / std::sqrt(norm));
        for (float& v : vector) v *= scale;
    }
    return vector;
}

// Each visible character of a text that has no words, as its own feature.
void addSymbolFeatures(std::string_view text, std::vector<Feature>& features) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto length = static_cast<int32_t>(text.size());
    for (int32_t i = 0; i < length;) {
        const int32_t start = i;
        UChar32 c = 0;
        U8_NEXT(bytes, i, length, c);
        if (c < 0 || u_isUWhiteSpace(c) || u_iscntrl(c)) continue;
        const std::string folded =
            foldWord(text.substr(static_cast<size_t>(start), static_cast<size_t>(i - start)));
        addFeature(features, hashBytes(folded, symbolSeed), symbolWeight);
    }
}

}  // namespace

NativeEmbeddings::NativeEmbeddings(std::string language, NativeEmbeddingType type)
    : language_(std::move(language)), type_(type), english_(language_.rfind("en", 0) == 0) {}

std::string NativeEmbeddings::normalizedWord(std::string_view word) const {
    std::string folded = foldWord(word);
    if (english_) {
        dropApostrophes(folded);
        if (std::all_of(folded.begin(), folded.end(), isAsciiLetter)) stemEnglish(folded);
    }
    return folded;
}

std::optional<std::vector<float>> NativeEmbeddings::encode(const std::string& sentence) {
    const std::vector<std::string> words = tokenizer_.tokenize(sentence);
    std::vector<Feature> features;

    if (type_ == NativeEmbeddingType::wordEmbedding) {
        if (words.size() != 1) return std::nullopt;
        addFeature(features, hashBytes(normalizedWord(words.front()), wordSeed), contentWeight);
        return project(features);
    }

    features.reserve(words.size() * 3);
    uint64_t previousContent = 0;
    bool hasPrevious = false;
    for (const auto& word : words) {
        std::string normalized = foldWord(word);
        if (english_) {
            dropApostrophes(normalized);
            if (isStopWord(normalized)) {
                addFeature(features, hashBytes(normalized, wordSeed), stopWordWeight);
                continue;
            }
            if (std::all_of(normalized.begin(), normalized.end(), isAsciiLetter)) {
                stemEnglish(normalized);
            }
        }
        const uint64_t hash = hashBytes(normalized, wordSeed);
        addFeature(features, hash, contentWeight);
        if (normalized.size() >= prefixFromLength) {
            addFeature(features,
                       hashBytes(std::string_view(normalized).substr(0, prefixLength), prefixSeed),
                       prefixWeight);
        }
        if (hasPrevious) addFeature(features, hashPair(previousContent, hash), pairWeight);
        previousContent = hash;
        hasPrevious = true;
    }
    if (features.empty()) addSymbolFeatures(sentence, features);
    // A blank text gets a direction of its own rather than no length, which
    // would make every cosine with it not a number.
    if (features.empty()) addFeature(features, hashBytes("", symbolSeed), symbolWeight);
    return project(features);
}

}  // namespace folvane
