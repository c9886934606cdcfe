#pragma once

#include <chrono>
#include <string>

namespace folvane {

// The local time as "yyyy-MM-dd_h-mm-ss_a": the hour from 1 to 12 without a
// leading zero and the AM or PM mark of the C library's current time locale
// ("AM" and "PM" where that locale has none). Speech files and screenshots are
// named with it.
std::string datedFileStem(std::chrono::system_clock::time_point time);

}  // namespace folvane
