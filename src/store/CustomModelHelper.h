#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "store/CustomModel.h"
#include "store/SqliteConnection.h"

namespace folvane {

// The table `custom_models`. A deleted model keeps its row, since chats may
// still point at it, but is no longer found.
class CustomModelHelper {
  public:
    explicit CustomModelHelper(std::shared_ptr<SqliteConnection> db) : db_(std::move(db)) {}

    // Live models, oldest first. A failure is logged and the rows read so far
    // are returned.
    std::vector<CustomModel> getAll() const;
    std::optional<CustomModel> find(int64_t id) const;
    int64_t insert(const CustomModel& model) const;
    // Sets the six fields on the stored row; does nothing when the row is gone.
    void update(int64_t id, const std::string& name, const std::string& apiEndpoint,
                const std::string& modelId, int contextLength,
                const std::optional<std::vector<CustomModelHeaderEntry>>& headers,
                bool useStream) const;
    void remove(int64_t id) const;

  private:
    std::shared_ptr<SqliteConnection> db_;
};

}  // namespace folvane
