#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace folvane {

// Dates are whole seconds in UTC: the database keeps them as text
// "yyyy-MM-dd HH:mm:ss", so nothing finer survives a round trip.
using Date = std::chrono::sys_seconds;

Date now();
// The earliest date the program uses, standing for "no date" in a column that
// may be NULL (a chat's context start).
Date distantPast();
// 1970-01-01 00:00:00 UTC.
Date referenceInstant();

// "yyyy-MM-dd HH:mm:ss" in UTC.
std::string formatDate(Date date);
// Accepts "yyyy-MM-dd HH:mm:ss"; nullopt for anything else.
std::optional<Date> parseDate(std::string_view text);

}  // namespace folvane
