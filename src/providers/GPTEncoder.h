#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace folvane {

// The byte-pair encoder of GPT-2: text to token ids and back.
//
// It reads the merge list "vocab.bpe" and the vocabulary "encoder.json". A file
// that is missing or unreadable leaves its part empty without an error; the
// encoder then yields no ids. The merge ranks are built on the first merge that
// needs them. Merged pieces are cached for the life of the encoder; encode and
// decode may be called from several threads at once.
class GPTEncoder {
  public:
    struct Sources {
        std::string bpe;          // the text of vocab.bpe
        std::string encoderJson;  // the text of encoder.json
    };

    // Reads vocab.bpe and encoder.json from the folder.
    explicit GPTEncoder(const std::filesystem::path& resourceDirectory);
    explicit GPTEncoder(Sources sources);
    ~GPTEncoder();
    GPTEncoder(const GPTEncoder&) = delete;
    GPTEncoder& operator=(const GPTEncoder&) = delete;

    // The token ids of the text. Bytes that are not UTF-8 count as U+FFFD.
    std::vector<int> encode(std::string_view text) const;
    // The number of ids `encode` gives, without keeping them.
    size_t count(std::string_view text) const;
    // The bytes of the ids' symbols joined; unknown ids are skipped.
    std::string decode(const std::vector<int>& ids) const;

    // The pre-tokenizer's pieces of the text, in order (UTF-8).
    std::vector<std::string> pieces(std::string_view text) const;
    // The merge of one piece (given as UTF-8 bytes) as byte-mapped symbols
    // separated by single blanks.
    std::string bpe(std::string_view piece) const;
    // The merge list, byte-mapped, as read from vocab.bpe; built on first use.
    const std::vector<std::vector<std::string>>& bpeMerges() const;
    // Whether the merge ranks have been built yet.
    bool ranksAreBuilt() const { return ranksBuilt_.load(std::memory_order_acquire); }

    // The byte-to-unicode table of GPT-2: byte value to a one-character string.
    static const std::array<std::string, 256>& byteEncoder();

  private:
    struct MergeResult {
        uint32_t rank;
        uint32_t symbol;
    };
    using TokenList = std::vector<int32_t>;
    struct PieceHash {
        using is_transparent = void;
        size_t operator()(std::string_view text) const noexcept;
    };

    void buildRanks() const;
    void ensureRanks() const;
    // Merges the bytes of one piece into symbol ids (ranks must be built).
    void mergeSymbols(std::string_view piece, std::vector<uint32_t>& word) const;
    // Appends the ids of one piece, through the cache.
    template <typename Sink>
    void encodePiece(std::string_view piece, std::vector<uint32_t>& word, Sink&& sink) const;
    template <typename Sink>
    void forEachPiece(std::string_view text, Sink&& sink) const;

    struct Pretokenizer;  // the compiled pattern
    std::unique_ptr<Pretokenizer> regex_;
    std::string bpeText_;
    std::unordered_map<std::string, int> encoder_;  // byte-mapped symbol to id
    std::unordered_map<int, std::string> decoder_;  // id to the symbol's raw bytes
    std::array<int32_t, 256> byteTokens_{};         // id of each one-byte symbol, or -1

    // Built once, on first use, under rankOnce_.
    mutable std::once_flag rankOnce_;
    mutable std::atomic<bool> ranksBuilt_{false};
    mutable std::vector<std::vector<std::string>> bpeMerges_;
    // Symbols in raw bytes; ids 0..255 are the single bytes.
    mutable std::vector<std::string> symbols_;
    mutable std::vector<int32_t> symbolTokens_;  // token id of each symbol, or -1
    // Key: left symbol << 32 | right symbol.
    mutable std::unordered_map<uint64_t, MergeResult> bpeRanks_;

    // Finished pieces, keyed by their raw bytes.
    mutable std::shared_mutex cacheMutex_;
    mutable std::unordered_map<std::string, TokenList, PieceHash, std::equal_to<>> cache_;
};

}  // namespace folvane
