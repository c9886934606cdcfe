#pragma once

#include <optional>
#include <string_view>

namespace folvane {

// Where a document's vectors are made: on the device, by OpenAI, or by OpenAI
// up to a page count.
enum class DataIngestionStrategy { local, openai, smart };

std::string_view rawValue(DataIngestionStrategy value);
std::optional<DataIngestionStrategy> dataIngestionStrategyFromRaw(std::string_view raw);

}  // namespace folvane
