#pragma once

#include <string>

namespace folvane {

struct ChatDetailState;

// The model a chat answers with, as its row and its window name it: the name
// of the chat's custom model when it has one, else the model's display name.
std::string chatModelLabel(const ChatDetailState& chat);

// The second line of a chat's row in the chat list: with two or more
// documents "N documents · ", then "M messages · " and the model's label.
std::string chatRowDetail(const ChatDetailState& chat);

}  // namespace folvane
