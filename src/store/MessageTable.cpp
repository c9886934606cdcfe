#include "store/MessageTable.h"

#include "platform/Log.h"
#include "store/JsonText.h"
#include "store/RowReading.h"

namespace folvane {

namespace {

constexpr const char* selectColumns =
    "SELECT id, conversationId, role, content, model, name, functionName, functionArguments, "
    "\"references\", contextMode, stringContext, documentContext, imageURLs, speechFileURL, "
    "createdAt, updatedAt FROM messages ";

Message readMessage(const Statement& row) {
    Message m;
    m.id = row.int64(0);
    m.conversationId = row.int64(1);
    m.role = row.text(2);
    m.content = row.text(3);
    m.model = row.optionalText(4).value_or("gpt-3.5-turbo");
    m.name = row.optionalText(5);
    m.functionName = row.optionalText(6);
    m.functionArguments = row.optionalText(7);
    if (!row.isNull(8)) {
        const auto array = readJson(row, 8);
        std::vector<Reference> references;
        try {
            for (const auto& object : array) references.push_back(referenceFromJson(object));
        } catch (const nlohmann::json::exception&) {
            throw DatabaseError("Invalid references in the database");
        }
        m.references = std::move(references);
    }
    m.contextMode = row.optionalText(9);
    m.stringContext = row.optionalText(10);
    m.documentContext = row.optionalInt64(11);
    if (!row.isNull(12)) {
        const auto urls = readJson(row, 12);
        for (const auto& url : urls) {
            if (!url.is_string()) throw DatabaseError("Invalid imageURLs in the database");
            m.imageURLs.push_back(url.get<std::string>());
        }
    }
    m.speechFileURL = row.optionalText(13);
    m.createdAt = readDate(row, 14);
    m.updatedAt = readDate(row, 15);
    return m;
}

std::optional<std::string> referencesJson(const Message& message) {
    if (!message.references) return std::nullopt;
    auto array = nlohmann::ordered_json::array();
    for (const auto& reference : *message.references) array.push_back(toJson(reference));
    return compactJson(array);
}

}  // namespace

std::vector<Message> MessageTable::getAll(int64_t conversationId, int64_t afterId) const {
    std::vector<Message> result;
    try {
        auto query = db_->prepare(selectWith(
            selectColumns, "WHERE conversationId = ? AND id > ? ORDER BY createdAt ASC"));
        query.bind(conversationId, afterId);
        while (query.step()) result.push_back(readMessage(query));
    } catch (const std::exception& error) {
        log(std::string("MessageTable.getAll failed: ") + error.what());
    }
    return result;
}

std::optional<Message> MessageTable::find(int64_t id) const {
    auto query = db_->prepare(selectWith(selectColumns, "WHERE id = ? LIMIT 1"));
    query.bind(id);
    if (!query.step()) return std::nullopt;
    return readMessage(query);
}

int64_t MessageTable::insert(const Message& m) const {
    auto statement = db_->prepare(
        "INSERT INTO messages (conversationId, role, content, model, name, functionName, "
        "functionArguments, \"references\", contextMode, stringContext, documentContext, "
        "imageURLs, speechFileURL) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    statement.bind(m.conversationId, m.role, m.content, m.model, m.name, m.functionName,
                   m.functionArguments, referencesJson(m), m.contextMode, m.stringContext,
                   m.documentContext, compactJson(nlohmann::ordered_json(m.imageURLs)),
                   m.speechFileURL);
    statement.run();
    return statement.insertedRowId();
}

Message MessageTable::insertMarker(int64_t conversationId, const std::string& name) const {
    auto statement = db_->prepare(
        "INSERT INTO messages (role, content, name, conversationId) "
        "VALUES ('application', '', ?, ?)");
    statement.bind(name, conversationId);
    statement.run();
    const int64_t id = statement.insertedRowId();
    auto marker = find(id);
    if (!marker) throw DatabaseError("The marker could not be read back");
    return *marker;
}

void MessageTable::deleteMarkers(int64_t conversationId, const std::string& name) const {
    db_->prepare(
           "DELETE FROM messages WHERE role = 'application' AND name = ? AND conversationId = ?")
        .bind(name, conversationId)
        .run();
}

void MessageTable::remove(int64_t id) const {
    db_->prepare("DELETE FROM messages WHERE id = ?").bind(id).run();
}

void MessageTable::deleteAfter(int64_t conversationId, int64_t id) const {
    db_->prepare("DELETE FROM messages WHERE conversationId = ? AND id > ?")
        .bind(conversationId, id)
        .run();
}

void MessageTable::updateContent(int64_t id, const std::string& content) const {
    db_->prepare("UPDATE messages SET content = ? WHERE id = ?").bind(content, id).run();
}

void MessageTable::updateContentAndDeleteAfter(int64_t conversationId, int64_t id,
                                               const std::string& content) const {
    db_->transaction([&] {
        updateContent(id, content);
        deleteAfter(conversationId, id);
    });
}

void MessageTable::updateSpeechFile(int64_t id, const std::optional<std::string>& url) const {
    db_->prepare("UPDATE messages SET speechFileURL = ? WHERE id = ?").bind(url, id).run();
}

}  // namespace folvane
