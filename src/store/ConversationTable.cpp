#include "store/ConversationTable.h"

#include "platform/Log.h"
#include "store/JsonText.h"
#include "store/MessageTable.h"
#include "store/RowReading.h"

namespace folvane {

namespace {

constexpr const char* selectColumns =
    "SELECT id, title, bookmarkId, extraBookmarkIds, model, temperature, languageCode, "
    "useWebSearch, isDemo, latestMessage, messageCount, suggestedQuestion1, suggestedQuestion2, "
    "suggestedQuestion3, cost, customModelId, contextLimit, presencePenalty, frequencyPenalty, "
    "contextSince, createdAt, updatedAt FROM conversations ";

Conversation readConversation(const Statement& row) {
    Conversation c;
    c.id = row.int64(0);
    c.title = row.text(1);
    c.bookmarkId = row.int64(2);
    if (!row.isNull(3)) {
        const auto ids = readJson(row, 3);
        if (!ids.is_array()) throw DatabaseError("Invalid extraBookmarkIds in the database");
        for (const auto& value : ids) {
            if (!value.is_number_integer()) {
                throw DatabaseError("Invalid extraBookmarkIds in the database");
            }
            c.extraBookmarkIds.push_back(value.get<int64_t>());
        }
    }
    c.model = row.optionalText(4).value_or("gpt-3.5-turbo");
    c.temperature = row.optionalReal(5).value_or(0.7);
    c.languageCode = row.optionalText(6).value_or("");
    c.useWebSearch = row.optionalInt64(7).value_or(0) != 0;
    c.isDemo = row.optionalInt64(8).value_or(0) != 0;
    c.latestMessage = row.optionalText(9);
    c.messageCount = int(row.optionalInt64(10).value_or(0));
    c.suggestedQuestion1 = row.optionalText(11);
    c.suggestedQuestion2 = row.optionalText(12);
    c.suggestedQuestion3 = row.optionalText(13);
    c.cost = row.optionalReal(14).value_or(0);
    c.customModelId = row.int64(15);
    c.contextLimit = int(row.int64(16));
    c.presencePenalty = row.optionalReal(17).value_or(0);
    c.frequencyPenalty = row.optionalReal(18).value_or(0);
    c.contextSince = row.isNull(19) ? distantPast() : readDate(row, 19);
    c.createdAt = readDate(row, 20);
    c.updatedAt = readDate(row, 21);
    return c;
}

std::string idsJson(const std::vector<int64_t>& ids) {
    return compactJson(nlohmann::ordered_json(ids));
}

}  // namespace

std::vector<Conversation> ConversationTable::getAll(int64_t afterId) const {
    std::vector<Conversation> result;
    try {
        auto query =
            db_->prepare(selectWith(selectColumns, "WHERE id > ? ORDER BY updatedAt DESC"));
        query.bind(afterId);
        while (query.step()) result.push_back(readConversation(query));
    } catch (const std::exception& error) {
        log(std::string("ConversationTable.getAll failed: ") + error.what());
    }
    return result;
}

std::optional<Conversation> ConversationTable::find(int64_t id) const {
    auto query = db_->prepare(selectWith(selectColumns, "WHERE id = ? LIMIT 1"));
    query.bind(id);
    if (!query.step()) return std::nullopt;
    return readConversation(query);
}

std::optional<Conversation> ConversationTable::findLatest(int64_t bookmarkId) const {
    auto query = db_->prepare(
        selectWith(selectColumns, "WHERE bookmarkId = ? ORDER BY createdAt DESC, id DESC LIMIT 1"));
    query.bind(bookmarkId);
    if (!query.step()) return std::nullopt;
    return readConversation(query);
}

int64_t ConversationTable::insert(const Conversation& c) const {
    auto statement = db_->prepare(
        "INSERT INTO conversations (title, bookmarkId, extraBookmarkIds, model, temperature, "
        "languageCode, useWebSearch, isDemo, latestMessage, customModelId, contextLimit, "
        "presencePenalty, frequencyPenalty) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    statement.bind(c.title, c.bookmarkId, idsJson(c.extraBookmarkIds), c.model, c.temperature,
                   c.languageCode, c.useWebSearch, c.isDemo, c.latestMessage, c.customModelId,
                   c.contextLimit, c.presencePenalty, c.frequencyPenalty);
    statement.run();
    return statement.insertedRowId();
}

void ConversationTable::remove(int64_t id) const {
    db_->transaction([&] {
        db_->prepare("DELETE FROM conversations WHERE id = ?").bind(id).run();
        db_->prepare("DELETE FROM messages WHERE conversationId = ?").bind(id).run();
    });
}

template <typename Value>
void ConversationTable::updateColumn(int64_t id, const char* column, const Value& value) const {
    db_->prepare(std::string("UPDATE conversations SET ") + column + " = ? WHERE id = ?")
        .bind(value, id)
        .run();
}

void ConversationTable::updateTitle(int64_t id, const std::string& title) const {
    updateColumn(id, "title", title);
}
void ConversationTable::updateTemperature(int64_t id, double temperature) const {
    updateColumn(id, "temperature", temperature);
}
void ConversationTable::updateLanguageCode(int64_t id, const std::string& languageCode) const {
    updateColumn(id, "languageCode", languageCode);
}
void ConversationTable::updateModel(int64_t id, const std::string& model) const {
    updateColumn(id, "model", model);
}
void ConversationTable::updateUseWebSearch(int64_t id, bool useWebSearch) const {
    updateColumn(id, "useWebSearch", useWebSearch);
}
void ConversationTable::updateCustomModelId(int64_t id, int64_t customModelId) const {
    updateColumn(id, "customModelId", customModelId);
}
void ConversationTable::updateContextLimit(int64_t id, int contextLimit) const {
    updateColumn(id, "contextLimit", contextLimit);
}
void ConversationTable::updatePresencePenalty(int64_t id, double penalty) const {
    updateColumn(id, "presencePenalty", penalty);
}
void ConversationTable::updateFrequencyPenalty(int64_t id, double penalty) const {
    updateColumn(id, "frequencyPenalty", penalty);
}
void ConversationTable::updateUpdatedAt(int64_t id, Date date) const {
    updateColumn(id, "updatedAt", formatDate(date));
}
void ConversationTable::updateContextSince(int64_t id, Date date) const {
    updateColumn(id, "contextSince", formatDate(date));
}

void ConversationTable::updateSuggestedQuestions(int64_t id, const std::optional<std::string>& q1,
                                                 const std::optional<std::string>& q2,
                                                 const std::optional<std::string>& q3) const {
    db_->prepare(
           "UPDATE conversations SET suggestedQuestion1 = ?, suggestedQuestion2 = ?, "
           "suggestedQuestion3 = ? WHERE id = ?")
        .bind(q1, q2, q3, id)
        .run();
}

void ConversationTable::addCost(int64_t id, double amount) const {
    db_->prepare("UPDATE conversations SET cost = cost + ? WHERE id = ?").bind(amount, id).run();
}

void ConversationTable::writeExtraBookmarks(int64_t id, const std::vector<int64_t>& ids) const {
    updateColumn(id, "extraBookmarkIds", idsJson(ids));
}

void ConversationTable::addExtraBookmark(int64_t id, int64_t bookmarkId) const {
    auto conversation = find(id);
    if (!conversation) return;
    conversation->extraBookmarkIds.push_back(bookmarkId);
    writeExtraBookmarks(id, conversation->extraBookmarkIds);
}

void ConversationTable::removeExtraBookmark(int64_t id, int64_t bookmarkId) const {
    auto conversation = find(id);
    if (!conversation) return;
    std::erase(conversation->extraBookmarkIds, bookmarkId);
    writeExtraBookmarks(id, conversation->extraBookmarkIds);
}

Message ConversationTable::resetContext(int64_t id, Date since,
                                        const std::string& markerName) const {
    return db_->transaction([&] {
        const MessageTable messages(db_);
        updateContextSince(id, since);
        messages.deleteMarkers(id, markerName);
        return messages.insertMarker(id, markerName);
    });
}

void ConversationTable::clearContext(int64_t id, Date since, const std::string& markerName) const {
    db_->transaction([&] {
        updateContextSince(id, since);
        MessageTable(db_).deleteMarkers(id, markerName);
    });
}

Conversation ConversationTable::fork(const Conversation& conversation,
                                     int64_t upToMessageId) const {
    return db_->transaction([&] {
        const int64_t newId = insert(conversation);
        db_->prepare(
               "INSERT INTO messages (conversationId, role, content, model, name, functionName, "
               "functionArguments, \"references\", contextMode, stringContext, documentContext, "
               "imageURLs, speechFileURL) "
               "SELECT ?, role, content, model, name, functionName, functionArguments, "
               "\"references\", contextMode, stringContext, documentContext, imageURLs, "
               "speechFileURL FROM messages WHERE conversationId = ? AND id <= ? ORDER BY id")
            .bind(newId, conversation.id, upToMessageId)
            .run();
        auto copy = find(newId);
        if (!copy) throw DatabaseError("The copied conversation could not be read back");
        return *copy;
    });
}

}  // namespace folvane
