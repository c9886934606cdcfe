#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace folvane {

// Why a candidate ended. Text the client does not know reads as `unknown`
// ("FINISH_REASON_UNKNOWN") and is logged.
enum class FinishReason { unspecified, stop, maxTokens, safety, recitation, other, unknown };
std::string_view rawValue(FinishReason reason);
FinishReason finishReasonFromRaw(std::string_view raw);

// Why a prompt was blocked; other text reads as `unknown`.
enum class BlockReason { unspecified, safety, other, unknown };
std::string_view rawValue(BlockReason reason);
BlockReason blockReasonFromRaw(std::string_view raw);

struct SafetyRating {
    std::string category;
    std::string probability;
};

// A turn of the conversation: its role and its text parts.
struct ModelContent {
    std::optional<std::string> role;
    std::vector<std::string> textParts;
};

struct CandidateResponse {
    ModelContent content;
    // Empty when the key is missing.
    std::vector<SafetyRating> safetyRatings;
    std::optional<FinishReason> finishReason;
    std::optional<std::string> finishMessage;
    bool hasCitationMetadata = false;
};

struct PromptFeedback {
    std::optional<BlockReason> blockReason;
    std::vector<SafetyRating> safetyRatings;
};

// The answer of generateContent.
struct GenerateContentResponse {
    std::vector<CandidateResponse> candidates;
    std::optional<PromptFeedback> promptFeedback;

    // The text of the first candidate's parts, joined.
    std::optional<std::string> text() const;

    // Throws DecodingError; a body with neither `candidates` nor
    // `promptFeedback` fails.
    static GenerateContentResponse decode(std::string_view text);
};

}  // namespace folvane
