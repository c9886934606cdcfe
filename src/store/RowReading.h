#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "store/Date.h"
#include "store/SqliteConnection.h"

namespace folvane {

// Helpers shared by the table models for reading a column into a field.

// A date column; a text that is not "yyyy-MM-dd HH:mm:ss" is a broken row.
Date readDate(const Statement& row, int column);
// A JSON column; text that does not parse is a broken row.
nlohmann::json readJson(const Statement& row, int column);

}  // namespace folvane
