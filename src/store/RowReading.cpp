#include "store/RowReading.h"

namespace folvane {

Date readDate(const Statement& row, int column) {
    const std::string text = row.text(column);
    const auto date = parseDate(text);
    if (!date) throw DatabaseError("Invalid date in the database: \"" + text + "\"");
    return *date;
}

nlohmann::json readJson(const Statement& row, int column) {
    auto value = nlohmann::json::parse(row.text(column), nullptr, false);
    if (value.is_discarded()) throw DatabaseError("Invalid JSON in the database");
    return value;
}

std::string selectWith(std::string_view select, std::string_view clause) {
    std::string sql;
    sql.reserve(select.size() + clause.size());
    sql.append(select).append(clause);
    return sql;
}

}  // namespace folvane
