#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "store/Prompt.h"
#include "store/SqliteConnection.h"

namespace folvane {

// The table `prompts`. Every prompt read has the icon "💬" and was last used now.
class PromptTable {
  public:
    explicit PromptTable(std::shared_ptr<SqliteConnection> db) : db_(std::move(db)) {}

    // In row order. A failure is logged and the rows read so far are returned.
    std::vector<Prompt> getAll() const;
    std::optional<Prompt> find(int64_t id) const;
    int64_t insert(const Prompt& prompt) const;
    void update(int64_t id, const Prompt& prompt) const;
    void remove(const std::vector<int64_t>& ids) const;

  private:
    std::shared_ptr<SqliteConnection> db_;
};

}  // namespace folvane
