#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "store/CustomModel.h"

namespace folvane {

class SecretStore;

// The API keys of custom models, kept in a SecretStore rather than in the
// database. A secret header ("api-key", "x-api-key" or "authorization", in any
// case) keeps its entry in the row with an empty value, so that the list and
// its order survive; its value lives in the item "custom-model-<id>-<name>",
// the name lowercased.
class CustomModelSecrets {
  public:
    explicit CustomModelSecrets(SecretStore& store) : store_(store) {}

    static bool isSecretHeader(std::string_view name);
    static std::string itemName(int64_t id, std::string_view header);
    // The headers as the database keeps them: secret values emptied.
    static std::optional<std::vector<CustomModelHeaderEntry>> withoutSecrets(
        std::optional<std::vector<CustomModelHeaderEntry>> headers);

    // Writes the model's secret values to the store and removes the items of
    // secret headers that are gone or empty. Throws std::runtime_error with
    // the user's text when the store refuses a value.
    void save(int64_t id, const std::optional<std::vector<CustomModelHeaderEntry>>& headers) const;
    // Puts the stored values back into the secret entries that are empty.
    void fill(CustomModel& model) const;
    // Removes every item of the model.
    void remove(int64_t id) const;

  private:
    SecretStore& store_;
};

}  // namespace folvane
