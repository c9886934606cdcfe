#include "providers/GenerateContentResponse.h"

#include <array>
#include <utility>

#include "platform/Log.h"
#include "providers/DecodingError.h"

namespace folvane {

namespace rd = json_read;

namespace {

constexpr std::array<std::pair<FinishReason, std::string_view>, 7> finishReasons{{
    {FinishReason::unspecified, "FINISH_REASON_UNSPECIFIED"},
    {FinishReason::stop, "STOP"},
    {FinishReason::maxTokens, "MAX_TOKENS"},
    {FinishReason::safety, "SAFETY"},
    {FinishReason::recitation, "RECITATION"},
    {FinishReason::other, "OTHER"},
    {FinishReason::unknown, "FINISH_REASON_UNKNOWN"},
}};

constexpr std::array<std::pair<BlockReason, std::string_view>, 4> blockReasons{{
    {BlockReason::unspecified, "BLOCK_REASON_UNSPECIFIED"},
    {BlockReason::safety, "SAFETY"},
    {BlockReason::other, "OTHER"},
    {BlockReason::unknown, "UNKNOWN"},
}};

std::vector<SafetyRating> readRatings(const nlohmann::json& object) {
    std::vector<SafetyRating> ratings;
    const auto* entries = rd::optional(object, "safetyRatings");
    if (entries == nullptr) return ratings;
    for (const auto& entry : rd::array(*entries, "safetyRatings")) {
        rd::object(entry, "safetyRatings");
        ratings.push_back({rd::optionalString(entry, "category").value_or(""),
                           rd::optionalString(entry, "probability").value_or("")});
    }
    return ratings;
}

ModelContent readContent(const nlohmann::json& value) {
    rd::object(value, "content");
    ModelContent content;
    content.role = rd::optionalString(value, "role");
    if (const auto* parts = rd::optional(value, "parts")) {
        for (const auto& part : rd::array(*parts, "parts")) {
            rd::object(part, "parts");
            if (auto text = rd::optionalString(part, "text")) content.textParts.push_back(*text);
        }
    }
    return content;
}

CandidateResponse readCandidate(const nlohmann::json& value) {
    rd::object(value, "candidates");
    CandidateResponse candidate;
    if (const auto* content = rd::optional(value, "content")) {
        candidate.content = readContent(*content);
    }
    candidate.safetyRatings = readRatings(value);
    if (auto reason = rd::optionalString(value, "finishReason")) {
        candidate.finishReason = finishReasonFromRaw(*reason);
    }
    candidate.finishMessage = rd::optionalString(value, "finishMessage");
    candidate.hasCitationMetadata = rd::optional(value, "citationMetadata") != nullptr;
    return candidate;
}

}  // namespace

std::string_view rawValue(FinishReason reason) {
    for (const auto& [value, raw] : finishReasons) {
        if (value == reason) return raw;
    }
    return "FINISH_REASON_UNKNOWN";
}

FinishReason finishReasonFromRaw(std::string_view raw) {
    for (const auto& [value, text] : finishReasons) {
        if (text == raw) return value;
    }
    log("[GoogleGenerativeAI] Unrecognized FinishReason with value \"" + std::string(raw) + "\".");
    return FinishReason::unknown;
}

std::string_view rawValue(BlockReason reason) {
    for (const auto& [value, raw] : blockReasons) {
        if (value == reason) return raw;
    }
    return "UNKNOWN";
}

BlockReason blockReasonFromRaw(std::string_view raw) {
    for (const auto& [value, text] : blockReasons) {
        if (text == raw) return value;
    }
    return BlockReason::unknown;
}

std::optional<std::string> GenerateContentResponse::text() const {
    if (candidates.empty() || candidates.front().content.textParts.empty()) return std::nullopt;
    std::string joined;
    for (const auto& part : candidates.front().content.textParts) joined += part;
    return joined;
}

GenerateContentResponse GenerateContentResponse::decode(std::string_view text) {
    const nlohmann::json value = rd::parse(text);
    rd::object(value, "GenerateContentResponse");
    const auto* candidates = rd::optional(value, "candidates");
    const auto* feedback = rd::optional(value, "promptFeedback");
    if (candidates == nullptr && feedback == nullptr) {
        throw DecodingError(DecodingError::Kind::keyNotFound,
                            "Failed to decode GenerateContentResponse; missing keys 'candidates' "
                            "and 'promptFeedback'.");
    }
    GenerateContentResponse response;
    if (candidates != nullptr) {
        for (const auto& entry : rd::array(*candidates, "candidates")) {
            response.candidates.push_back(readCandidate(entry));
        }
    }
    if (feedback != nullptr) {
        rd::object(*feedback, "promptFeedback");
        PromptFeedback promptFeedback;
        if (auto reason = rd::optionalString(*feedback, "blockReason")) {
            promptFeedback.blockReason = blockReasonFromRaw(*reason);
        }
        promptFeedback.safetyRatings = readRatings(*feedback);
        response.promptFeedback = std::move(promptFeedback);
    }
    return response;
}

}  // namespace folvane
