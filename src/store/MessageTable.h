#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "store/Message.h"
#include "store/SqliteConnection.h"

namespace folvane {

// The table `messages`.
class MessageTable {
  public:
    explicit MessageTable(std::shared_ptr<SqliteConnection> db) : db_(std::move(db)) {}

    // The chat's messages with an id above afterId, oldest first. A failure is
    // logged and the rows read so far are returned.
    std::vector<Message> getAll(int64_t conversationId, int64_t afterId = 0) const;
    std::optional<Message> find(int64_t id) const;
    int64_t insert(const Message& message) const;
    // A marker row ("application", empty content, the name); returned as stored.
    Message insertMarker(int64_t conversationId, const std::string& name) const;
    void deleteMarkers(int64_t conversationId, const std::string& name) const;
    void remove(int64_t id) const;
    void deleteAfter(int64_t conversationId, int64_t id) const;
    void updateContent(int64_t id, const std::string& content) const;
    // New content for a message and the chat's later messages deleted, in one
    // transaction: the edit of a question that is sent again.
    void updateContentAndDeleteAfter(int64_t conversationId, int64_t id,
                                     const std::string& content) const;
    void updateSpeechFile(int64_t id, const std::optional<std::string>& url) const;

  private:
    std::shared_ptr<SqliteConnection> db_;
};

}  // namespace folvane
