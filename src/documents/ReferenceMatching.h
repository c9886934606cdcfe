#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "SimilaritySearchKit/EmbeddingsProtocol.h"
#include "SimilaritySearchKit/SearchResult.h"
#include "store/Reference.h"

namespace folvane {

// A stored page value as a number: "Optional(12)" gives 12, "7" gives 7; the
// letters of "Optional" and the parentheses are stripped from both ends.
std::optional<int> pageNumber(std::string_view stored);

// The reference of a result whose metadata name a page and a bookmark id; the
// result's score goes with it when asked for.
std::optional<Reference> makeReference(const SearchResult& result, bool withScore = false);

// The results that the answer speaks of: encoded anew with the local model
// against the answer, best first, those scoring above 0.7; else the best one.
std::vector<SearchResult> checkReferenceScore(std::shared_ptr<EmbeddingsProtocol> localModel,
                                              const std::string& answer,
                                              const std::vector<SearchResult>& results);

}  // namespace folvane
