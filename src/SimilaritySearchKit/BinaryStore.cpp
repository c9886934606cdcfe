#include "SimilaritySearchKit/BinaryStore.h"

#include <lzma.h>

#include <cstdint>
#include <stdexcept>

#include "SimilaritySearchKit/IndexFileIO.h"
#include "platform/Log.h"

namespace folvane {

namespace {

// The decompressed body may be at most this many times the compressed size;
// anything beyond is cut off.
constexpr std::size_t decodeBoundFactor = 5;

void appendLength(std::string& body, std::uint32_t length) {
    for (int shift = 0; shift < 32; shift += 8) body.push_back(static_cast<char>(length >> shift));
}

std::int32_t readLength(const std::string& body, std::size_t offset) {
    std::uint32_t length = 0;
    for (int byte = 0; byte < 4; ++byte) {
        length |= std::uint32_t(static_cast<unsigned char>(body[offset + byte])) << (8 * byte);
    }
    return static_cast<std::int32_t>(length);
}

std::string compress(const std::string& body) {
    std::string out(lzma_stream_buffer_bound(body.size()), '\0');
    std::size_t written = 0;
    const lzma_ret result =
        lzma_easy_buffer_encode(LZMA_PRESET_DEFAULT, LZMA_CHECK_CRC64, nullptr,
                                reinterpret_cast<const std::uint8_t*>(body.data()), body.size(),
                                reinterpret_cast<std::uint8_t*>(out.data()), &written, out.size());
    if (result != LZMA_OK) throw std::runtime_error("LZMA compression failed");
    out.resize(written);
    return out;
}

// Decompresses into at most `bound` bytes; a longer body is cut at the bound.
std::string decompress(const std::string& compressed, std::size_t bound) {
    lzma_stream stream = LZMA_STREAM_INIT;
    if (lzma_stream_decoder(&stream, UINT64_MAX, 0) != LZMA_OK) {
        throw std::runtime_error("LZMA decoder could not start");
    }
    std::string out(bound, '\0');
    stream.next_in = reinterpret_cast<const std::uint8_t*>(compressed.data());
    stream.avail_in = compressed.size();
    stream.next_out = reinterpret_cast<std::uint8_t*>(out.data());
    stream.avail_out = out.size();
    lzma_ret result = LZMA_OK;
    while (result == LZMA_OK && stream.avail_out > 0) {
        result = lzma_code(&stream, LZMA_FINISH);
    }
    const std::size_t produced = out.size() - stream.avail_out;
    lzma_end(&stream);
    const bool cutAtBound =
        stream.avail_out == 0 && (result == LZMA_OK || result == LZMA_BUF_ERROR);
    if (result != LZMA_STREAM_END && !cutAtBound) {
        throw std::runtime_error("The index file is not valid LZMA data");
    }
    out.resize(produced);
    return out;
}

}  // namespace

BinaryStore::BinaryStore() {
    log("Initted new BinaryStore");
}

std::filesystem::path BinaryStore::saveIndex(const std::vector<IndexItem>& items,
                                             const std::filesystem::path& directory,
                                             const std::string& name) {
    std::string body;
    for (const auto& item : items) {
        const std::string json = toJson(item).dump();
        appendLength(body, static_cast<std::uint32_t>(json.size()));
        body += json;
    }
    const auto file = directory / (name + ".dat");
    indexfile::writeAtomically(file, compress(body));
    return file;
}

std::vector<IndexItem> BinaryStore::loadIndex(const std::filesystem::path& file) {
    const std::string compressed = indexfile::read(file);
    const std::string body = decompress(compressed, compressed.size() * decodeBoundFactor);
    std::vector<IndexItem> items;
    std::size_t offset = 0;
    while (offset + 4 <= body.size()) {
        const std::int32_t length = readLength(body, offset);
        offset += 4;
        if (length < 0 || static_cast<std::size_t>(length) > body.size() - offset) {
            log("Index file " + file.string() + " ends inside a record; the rest is skipped");
            break;
        }
        items.push_back(indexItemFromJson(nlohmann::json::parse(body.substr(offset, length))));
        offset += static_cast<std::size_t>(length);
    }
    return items;
}

std::vector<std::filesystem::path> BinaryStore::listIndexes(
    const std::filesystem::path& directory) {
    try {
        return indexfile::listWithExtension(directory, ".dat");
    } catch (const std::filesystem::filesystem_error& error) {
        log(std::string("Error listing indexes: ") + error.what());
        return {};
    }
}

}  // namespace folvane
