#include "SimilaritySearchKit/TextSplitterType.h"

namespace folvane {

std::string_view rawValue(TextSplitterType value) {
    switch (value) {
        case TextSplitterType::token:
            return "token";
        case TextSplitterType::character:
            return "character";
        case TextSplitterType::recursive:
            return "recursive";
    }
    return "";
}

std::optional<TextSplitterType> textSplitterTypeFromRaw(std::string_view raw) {
    for (auto value :
         {TextSplitterType::token, TextSplitterType::character, TextSplitterType::recursive}) {
        if (rawValue(value) == raw) return value;
    }
    return std::nullopt;
}

}  // namespace folvane
