#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "store/Date.h"
#include "store/SqliteConnection.h"

namespace folvane {

// Helpers shared by the table models for reading a column into a field.

// A date column; a text that is not "yyyy-MM-dd HH:mm:ss" is a broken row.
Date readDate(const Statement& row, int column);
// A JSON column; text that does not parse is a broken row.
nlohmann::json readJson(const Statement& row, int column);

// A query's text: a table's fixed select and the clause that follows it. Built
// in one buffer, since GCC 12 misreads `std::string(head) + clause` as writing
// past the temporary's end.
std::string selectWith(std::string_view select, std::string_view clause);

}  // namespace folvane
