#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace folvane {

struct BertVocabularyHash {
    using is_transparent = void;
    size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
};

// Token to id. Looked up by string_view without copying the key.
using BertVocabulary = std::unordered_map<std::string, int, BertVocabularyHash, std::equal_to<>>;

}  // namespace folvane
