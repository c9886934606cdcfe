#include "support/SafetensorsWriter.h"

#include <cstring>
#include <nlohmann/json.hpp>

#include "SimilaritySearchKit/SafetensorsFile.h"

namespace folvane::test {

std::string safetensorsBytes(const RawTensors& tensors,
                             const std::map<std::string, std::string>& metadata) {
    nlohmann::ordered_json header = nlohmann::ordered_json::object();
    if (!metadata.empty()) header["__metadata__"] = metadata;
    std::string data;
    for (const auto& [name, tensor] : tensors) {
        header[name] = {{"dtype", tensor.dtype},
                        {"shape", tensor.shape},
                        {"data_offsets", {data.size(), data.size() + tensor.bytes.size()}}};
        data += tensor.bytes;
    }
    std::string text = header.dump();
    text.append((8 - text.size() % 8) % 8, ' ');
    std::string file(8, '\0');
    const std::uint64_t length = text.size();
    std::memcpy(file.data(), &length, 8);
    return file + text + data;
}

RawTensor f32Tensor(std::vector<int64_t> shape, const std::vector<float>& values) {
    std::string bytes(values.size() * 4, '\0');
    if (!values.empty()) std::memcpy(bytes.data(), values.data(), bytes.size());
    return {"F32", std::move(shape), std::move(bytes)};
}

RawTensors readTensors(const SafetensorsFile& file) {
    RawTensors tensors;
    for (const auto& [name, entry] : file.tensors()) {
        const auto bytes = file.bytes(name);
        tensors.emplace_back(
            name, RawTensor{entry.dtype, entry.shape, std::string(bytes.begin(), bytes.end())});
    }
    return tensors;
}

std::string tinyBertPath() {
    return FOLVANE_TEST_SOURCE_DIR "/data/tiny-bert.safetensors";
}

std::string tinyBertReferencePath() {
    return FOLVANE_TEST_SOURCE_DIR "/data/tiny-bert-reference.json";
}

}  // namespace folvane::test
