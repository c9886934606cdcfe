#include "SimilaritySearchKit/JsonStore.h"

#include "SimilaritySearchKit/IndexFileIO.h"
#include "platform/Log.h"

namespace folvane {

std::filesystem::path JsonStore::saveIndex(const std::vector<IndexItem>& items,
                                           const std::filesystem::path& directory,
                                           const std::string& name) {
    nlohmann::ordered_json array = nlohmann::ordered_json::array();
    for (const auto& item : items) array.push_back(toJson(item));
    const auto file = directory / (name + ".json");
    indexfile::writeAtomically(file, array.dump());
    return file;
}

std::vector<IndexItem> JsonStore::loadIndex(const std::filesystem::path& file) {
    const auto array = nlohmann::json::parse(indexfile::read(file));
    std::vector<IndexItem> items;
    items.reserve(array.size());
    for (const auto& object : array) items.push_back(indexItemFromJson(object));
    return items;
}

std::vector<std::filesystem::path> JsonStore::listIndexes(const std::filesystem::path& directory) {
    try {
        return indexfile::listWithExtension(directory, ".json");
    } catch (const std::filesystem::filesystem_error& error) {
        log(std::string("Error listing indexes: ") + error.what());
        return {};
    }
}

}  // namespace folvane
