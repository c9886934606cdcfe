#include "store/Date.h"

#include <cstdio>

namespace folvane {

using namespace std::chrono;

Date now() {
    return floor<seconds>(system_clock::now());
}

Date distantPast() {
    return sys_days{year{1} / January / 1};
}

Date referenceInstant() {
    return sys_days{year{1970} / January / 1};
}

std::string formatDate(Date date) {
    const auto day = floor<days>(date);
    const year_month_day ymd{day};
    const hh_mm_ss time{date - day};
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%04d-%02u-%02u %02d:%02d:%02d", int(ymd.year()),
                  unsigned(ymd.month()), unsigned(ymd.day()), int(time.hours().count()),
                  int(time.minutes().count()), int(time.seconds().count()));
    return buffer;
}

std::optional<Date> parseDate(std::string_view text) {
    if (text.size() != 19 || text[4] != '-' || text[7] != '-' || text[10] != ' ' ||
        text[13] != ':' || text[16] != ':') {
        return std::nullopt;
    }
    auto number = [&](size_t at, size_t length) -> std::optional<int> {
        int value = 0;
        for (size_t i = at; i < at + length; ++i) {
            if (text[i] < '0' || text[i] > '9') return std::nullopt;
            value = value * 10 + (text[i] - '0');
        }
        return value;
    };
    const auto y = number(0, 4), mo = number(5, 2), d = number(8, 2);
    const auto h = number(11, 2), mi = number(14, 2), s = number(17, 2);
    if (!y || !mo || !d || !h || !mi || !s) return std::nullopt;
    const year_month_day ymd{year{*y}, month{unsigned(*mo)}, day{unsigned(*d)}};
    if (!ymd.ok() || *h > 23 || *mi > 59 || *s > 60) return std::nullopt;
    return sys_days{ymd} + hours{*h} + minutes{*mi} + seconds{*s};
}

}  // namespace folvane
