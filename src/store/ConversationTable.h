#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "store/Conversation.h"
#include "store/Message.h"
#include "store/SqliteConnection.h"

namespace folvane {

// The table `conversations`, and the operations that also touch `messages`.
class ConversationTable {
  public:
    explicit ConversationTable(std::shared_ptr<SqliteConnection> db) : db_(std::move(db)) {}

    // Conversations with an id above afterId, most recently updated first. A
    // failure is logged and the rows read so far are returned.
    std::vector<Conversation> getAll(int64_t afterId = 0) const;
    std::optional<Conversation> find(int64_t id) const;
    // The newest chat whose main document is this bookmark.
    std::optional<Conversation> findLatest(int64_t bookmarkId) const;
    int64_t insert(const Conversation& conversation) const;
    // The conversation first, then its messages, in one transaction.
    void remove(int64_t id) const;

    void updateTitle(int64_t id, const std::string& title) const;
    void updateTemperature(int64_t id, double temperature) const;
    void updateLanguageCode(int64_t id, const std::string& languageCode) const;
    void updateModel(int64_t id, const std::string& model) const;
    void updateUseWebSearch(int64_t id, bool useWebSearch) const;
    void updateCustomModelId(int64_t id, int64_t customModelId) const;
    void updateContextLimit(int64_t id, int contextLimit) const;
    void updatePresencePenalty(int64_t id, double penalty) const;
    void updateFrequencyPenalty(int64_t id, double penalty) const;
    void updateUpdatedAt(int64_t id, Date date) const;
    void updateContextSince(int64_t id, Date date) const;
    void updateSuggestedQuestions(int64_t id, const std::optional<std::string>& q1,
                                  const std::optional<std::string>& q2,
                                  const std::optional<std::string>& q3) const;
    // Adds in the statement itself, without reading the total first.
    void addCost(int64_t id, double amount) const;
    void addExtraBookmark(int64_t id, int64_t bookmarkId) const;
    void removeExtraBookmark(int64_t id, int64_t bookmarkId) const;

    // The context starts again at `since`: contextSince set, and the chat's
    // marker rows of that name replaced by one new marker, in one transaction.
    // Returns the new marker as stored.
    Message resetContext(int64_t id, Date since, const std::string& markerName) const;
    // contextSince set and the chat's marker rows of that name deleted, in one
    // transaction.
    void clearContext(int64_t id, Date since, const std::string& markerName) const;

    // A copy of the conversation with its messages up to and including
    // upToMessageId, made in one transaction. Returns the new conversation.
    Conversation fork(const Conversation& conversation, int64_t upToMessageId) const;

  private:
    template <typename Value>
    void updateColumn(int64_t id, const char* column, const Value& value) const;
    void writeExtraBookmarks(int64_t id, const std::vector<int64_t>& ids) const;

    std::shared_ptr<SqliteConnection> db_;
};

}  // namespace folvane
