#pragma once

#include <string>
#include <vector>

#include "store/Message.h"

namespace folvane {

// The messages whose content holds the keyword, compared without case, as
// copies in which every occurrence of the keyword as typed (same case) is
// marked: "**" on both sides in a user's message, "==" in any other. An empty
// keyword finds nothing.
std::vector<Message> searchMessages(const std::vector<Message>& messages,
                                    const std::string& keyword);

}  // namespace folvane
