#include "store/DataIngestionStrategy.h"

namespace folvane {

std::string_view rawValue(DataIngestionStrategy value) {
    switch (value) {
        case DataIngestionStrategy::local:
            return "local";
        case DataIngestionStrategy::openai:
            return "openai";
        case DataIngestionStrategy::smart:
            return "smart";
    }
    return "local";
}

std::optional<DataIngestionStrategy> dataIngestionStrategyFromRaw(std::string_view raw) {
    for (auto value : {DataIngestionStrategy::local, DataIngestionStrategy::openai,
                       DataIngestionStrategy::smart}) {
        if (rawValue(value) == raw) return value;
    }
    return std::nullopt;
}

}  // namespace folvane
