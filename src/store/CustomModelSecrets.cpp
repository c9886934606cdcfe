#include "store/CustomModelSecrets.h"

#include <array>
#include <cctype>
#include <stdexcept>

#include "platform/SecretStore.h"

namespace folvane {

namespace {

constexpr std::array<std::string_view, 3> secretHeaders{"api-key", "x-api-key", "authorization"};

std::string lowered(std::string_view text) {
    std::string result(text);
    for (auto& c : result) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return result;
}

}  // namespace

bool CustomModelSecrets::isSecretHeader(std::string_view name) {
    const std::string key = lowered(name);
    for (auto secret : secretHeaders) {
        if (key == secret) return true;
    }
    return false;
}

std::string CustomModelSecrets::itemName(int64_t id, std::string_view header) {
    return "custom-model-" + std::to_string(id) + "-" + lowered(header);
}

std::optional<std::vector<CustomModelHeaderEntry>> CustomModelSecrets::withoutSecrets(
    std::optional<std::vector<CustomModelHeaderEntry>> headers) {
    if (!headers) return headers;
    for (auto& entry : *headers) {
        if (isSecretHeader(entry.key)) entry.value.clear();
    }
    return headers;
}

void CustomModelSecrets::save(
    int64_t id, const std::optional<std::vector<CustomModelHeaderEntry>>& headers) const {
    for (auto secret : secretHeaders) {
        // The last entry of that name wins, as when the request is made.
        std::string value;
        for (const auto& entry : headers.value_or(std::vector<CustomModelHeaderEntry>{})) {
            if (lowered(entry.key) == secret) value = entry.value;
        }
        const std::string item = itemName(id, secret);
        if (value.empty()) {
            store_.remove(item);
        } else if (!store_.write(item, value)) {
            throw std::runtime_error("The Secret Service did not store the key.");
        }
    }
}

void CustomModelSecrets::fill(CustomModel& model) const {
    if (!model.id || !model.headers) return;
    for (auto& entry : *model.headers) {
        if (!entry.value.empty() || !isSecretHeader(entry.key)) continue;
        if (auto value = store_.read(itemName(*model.id, entry.key))) entry.value = *value;
    }
}

void CustomModelSecrets::remove(int64_t id) const {
    for (auto secret : secretHeaders) store_.remove(itemName(id, secret));
}

}  // namespace folvane
