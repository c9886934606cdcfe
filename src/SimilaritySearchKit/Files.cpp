#include "SimilaritySearchKit/Files.h"

#include <charconv>

#include "SimilaritySearchKit/IndexFileIO.h"
#include "platform/Log.h"

namespace folvane {

namespace {

std::string quoted(const std::string& field) {
    std::string out = "\"";
    for (const char c : field) {
        if (c == '"') out += '"';
        out += c;
    }
    return out + '"';
}

// The shortest decimal text that reads back as the same float.
std::string floatText(float value) {
    char buffer[32];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    return std::string(buffer, end);
}

}  // namespace

Files::Files(std::filesystem::path documentsDirectory)
    : documentsDirectory_(std::move(documentsDirectory)) {}

std::string Files::csvText(const std::vector<IndexItem>& items) {
    std::string text = "id,text,embedding,metadata";
    for (const auto& item : items) {
        std::string vector;
        for (std::size_t i = 0; i < item.embedding.size(); ++i) {
            if (i > 0) vector += ' ';
            vector += floatText(item.embedding[i]);
        }
        std::string metadata;
        for (const auto& [key, value] : item.metadata) {
            if (!metadata.empty()) metadata += "; ";
            metadata += key + ": " + value;
        }
        text += '\n' + quoted(item.id) + ',' + quoted(item.text) + ",\"" + vector + "\",\"" +
                metadata + '"';
    }
    return text;
}

std::filesystem::path Files::saveCSV(const std::vector<IndexItem>& items,
                                     const std::string& name) const {
    std::filesystem::create_directories(documentsDirectory_);
    const auto file = documentsDirectory_ / (name + ".csv");
    indexfile::writeAtomically(file, csvText(items));
    log("CSV file saved at: " + file.string());
    return file;
}

}  // namespace folvane
