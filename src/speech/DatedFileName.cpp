#include "speech/DatedFileName.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace folvane {

std::string datedFileStem(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm local{};
    localtime_r(&seconds, &local);

    std::array<char, 32> mark{};
    if (std::strftime(mark.data(), mark.size(), "%p", &local) == 0 || mark[0] == '\0')
        std::snprintf(mark.data(), mark.size(), "%s", local.tm_hour < 12 ? "AM" : "PM");
    const int hour = local.tm_hour % 12 == 0 ? 12 : local.tm_hour % 12;
    std::array<char, 96> stem{};
    std::snprintf(stem.data(), stem.size(), "%04d-%02d-%02d_%d-%02d-%02d_%s", local.tm_year + 1900,
                  local.tm_mon + 1, local.tm_mday, hour, local.tm_min, local.tm_sec, mark.data());
    return stem.data();
}

}  // namespace folvane
