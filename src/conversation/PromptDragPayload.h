#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "store/Prompt.h"

namespace folvane {

// The content type under which a dragged prompt travels.
inline constexpr std::string_view promptContentType = "co.tessavel.Folvane.prompt";

// A dragged item that is not a prompt; what() is the user's words.
class PromptPayloadError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The record as one JSON object with the keys id, name, icon, prompt, enable,
// sortOrder and lastUsedAt (as "yyyy-MM-dd HH:mm:ss", UTC), in that order.
std::string encodePromptPayload(const Prompt& prompt);
// Reads what encodePromptPayload wrote. id, name, prompt, enable and sortOrder
// must be there; an absent icon is "💬" and an absent lastUsedAt is now.
// Throws PromptPayloadError for anything else.
Prompt decodePromptPayload(std::string_view payload);

}  // namespace folvane
