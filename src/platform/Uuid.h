#pragma once

#include <string>

namespace folvane {

// A new random (version 4) UUID in lower case, "xxxxxxxx-xxxx-4xxx-yxxx-xxxxxxxxxxxx",
// from the kernel's random source.
std::string newUuid();

}  // namespace folvane
