#include "documents/ReferenceMatching.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "SimilaritySearchKit/CosineSimilarity.h"
#include "SimilaritySearchKit/SimilarityIndex.h"
#include "platform/Log.h"

namespace folvane {

namespace {

constexpr std::string_view strippedCharacters = "Optional()";
constexpr float scoreThreshold = 0.7f;

std::optional<int64_t> decimal(std::string_view text) {
    int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

}  // namespace

std::optional<int> pageNumber(std::string_view stored) {
    const size_t first = stored.find_first_not_of(strippedCharacters);
    if (first == std::string_view::npos) return std::nullopt;
    const size_t last = stored.find_last_not_of(strippedCharacters);
    const auto value = decimal(stored.substr(first, last - first + 1));
    if (!value || *value < std::numeric_limits<int>::min() ||
        *value > std::numeric_limits<int>::max())
        return std::nullopt;
    return int(*value);
}

std::optional<Reference> makeReference(const SearchResult& result, bool withScore) {
    if (result.metadata.empty()) return std::nullopt;
    const auto page = result.metadata.find("page");
    const auto bookmark = result.metadata.find("bookmarkId");
    if (page == result.metadata.end() || bookmark == result.metadata.end()) return std::nullopt;
    const auto number = pageNumber(page->second);
    const auto bookmarkId = decimal(bookmark->second);
    if (!number || !bookmarkId) return std::nullopt;
    Reference reference;
    reference.id = result.id;
    reference.bookmarkId = *bookmarkId;
    reference.page = number;
    if (withScore) reference.score = result.score;
    return reference;
}

std::vector<SearchResult> checkReferenceScore(std::shared_ptr<EmbeddingsProtocol> localModel,
                                              const std::string& answer,
                                              const std::vector<SearchResult>& results) {
    if (results.empty() || !localModel) return {};
    SimilarityIndex index("PDF-Local-Answer-Index", std::move(localModel),
                          std::make_shared<CosineSimilarity>());
    for (const auto& result : results) index.addItem(result.id, result.text, result.metadata);
    std::vector<SearchResult> scored = index.search(answer, int(results.size()));
    std::stable_sort(
        scored.begin(), scored.end(),
        [](const SearchResult& a, const SearchResult& b) { return a.score > b.score; });
    log("checkReferenceScore");
    std::vector<SearchResult> kept;
    for (const auto& result : scored) {
        if (result.score > scoreThreshold) kept.push_back(result);
    }
    if (kept.empty() && !scored.empty()) kept.push_back(scored.front());
    return kept;
}

}  // namespace folvane
