#include "store/CustomModelHelper.h"

#include "platform/Log.h"
#include "store/JsonText.h"
#include "store/RowReading.h"

namespace folvane {

namespace {

constexpr const char* selectColumns =
    "SELECT id, provider, name, apiEndpoint, modelId, contextLength, useStream, headers, "
    "deleted, createdAt, updatedAt FROM custom_models ";

CustomModel readModel(const Statement& row) {
    CustomModel m;
    m.id = row.int64(0);
    m.provider = row.text(1);
    m.name = row.text(2);
    m.apiEndpoint = row.text(3);
    m.modelId = row.text(4);
    m.contextLength = int(row.int64(5));
    m.useStream = row.int64(6) != 0;
    if (!row.isNull(7)) {
        std::vector<CustomModelHeaderEntry> headers;
        for (const auto& entry : readJson(row, 7)) {
            if (!entry.is_object() || !entry.contains("key") || !entry.contains("value")) {
                throw DatabaseError("Invalid headers in the database");
            }
            headers.push_back({entry["key"].get<std::string>(), entry["value"].get<std::string>()});
        }
        m.headers = std::move(headers);
    }
    m.deleted = row.int64(8) != 0;
    m.createdAt = readDate(row, 9);
    m.updatedAt = readDate(row, 10);
    return m;
}

std::optional<std::string> headersJson(
    const std::optional<std::vector<CustomModelHeaderEntry>>& headers) {
    if (!headers) return std::nullopt;
    auto array = nlohmann::ordered_json::array();
    for (const auto& entry : *headers) {
        nlohmann::ordered_json object;
        object["key"] = entry.key;
        object["value"] = entry.value;
        array.push_back(object);
    }
    return compactJson(array);
}

}  // namespace

std::vector<CustomModel> CustomModelHelper::getAll() const {
    std::vector<CustomModel> result;
    try {
        auto query = db_->prepare(
            selectWith(selectColumns, "WHERE id > 0 AND deleted = 0 ORDER BY createdAt ASC"));
        while (query.step()) result.push_back(readModel(query));
    } catch (const std::exception& error) {
        log(std::string("CustomModelHelper.getAll failed: ") + error.what());
    }
    return result;
}

std::optional<CustomModel> CustomModelHelper::find(int64_t id) const {
    auto query = db_->prepare(selectWith(selectColumns, "WHERE id = ? AND deleted = 0 LIMIT 1"));
    query.bind(id);
    if (!query.step()) return std::nullopt;
    return readModel(query);
}

int64_t CustomModelHelper::insert(const CustomModel& m) const {
    const std::string columns =
        "provider, name, apiEndpoint, modelId, contextLength, useStream, headers, deleted, "
        "createdAt, updatedAt";
    auto statement = m.id ? db_->prepare("INSERT INTO custom_models (id, " + columns +
                                         ") VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)")
                          : db_->prepare("INSERT INTO custom_models (" + columns +
                                         ") VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    if (m.id) statement.bind(*m.id);
    statement.bind(m.provider, m.name, m.apiEndpoint, m.modelId, m.contextLength, m.useStream,
                   headersJson(m.headers), m.deleted, formatDate(m.createdAt),
                   formatDate(m.updatedAt));
    statement.run();
    return statement.insertedRowId();
}

void CustomModelHelper::update(int64_t id, const std::string& name, const std::string& apiEndpoint,
                               const std::string& modelId, int contextLength,
                               const std::optional<std::vector<CustomModelHeaderEntry>>& headers,
                               bool useStream) const {
    if (!find(id)) return;
    db_->prepare(
           "UPDATE custom_models SET name = ?, apiEndpoint = ?, modelId = ?, contextLength = ?, "
           "headers = ?, useStream = ? WHERE id = ?")
        .bind(name, apiEndpoint, modelId, contextLength, headersJson(headers), useStream, id)
        .run();
}

void CustomModelHelper::remove(int64_t id) const {
    db_->prepare("UPDATE custom_models SET deleted = 1 WHERE id = ?").bind(id).run();
}

}  // namespace folvane
