#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace folvane {
class SafetensorsFile;
}

namespace folvane::test {

// A tensor as a safetensors file stores it.
struct RawTensor {
    std::string dtype;
    std::vector<int64_t> shape;
    std::string bytes;
};

using RawTensors = std::vector<std::pair<std::string, RawTensor>>;

// The bytes of a safetensors file holding `tensors`, their data in the order given.
std::string safetensorsBytes(const RawTensors& tensors,
                             const std::map<std::string, std::string>& metadata = {});
RawTensor f32Tensor(std::vector<int64_t> shape, const std::vector<float>& values);
// Every tensor of a file, to be altered and written again.
RawTensors readTensors(const SafetensorsFile& file);

// The tiny random DistilBERT of tests/data, made by tools/make-tiny-bert.py.
std::string tinyBertPath();
std::string tinyBertReferencePath();

}  // namespace folvane::test
