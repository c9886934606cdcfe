#include "SimilaritySearchKit/SafetensorsFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <bit>
#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>

#include "SimilaritySearchKit/EmbeddingModelLoadError.h"

namespace folvane {
namespace {

static_assert(std::endian::native == std::endian::little,
              "safetensors data is little-endian and is read as it lies");

// A header larger than this is not a model header but a damaged length.
constexpr std::uint64_t maxHeaderLength = 100u << 20;

std::size_t elementSize(const std::string& dtype) {
    if (dtype == "F32") return 4;
    if (dtype == "F16" || dtype == "BF16") return 2;
    if (dtype == "F64") return 8;
    return 0;
}

float halfToFloat(std::uint16_t half) {
    const std::uint32_t sign = std::uint32_t(half & 0x8000u) << 16;
    std::uint32_t exponent = (half >> 10) & 0x1fu;
    std::uint32_t mantissa = half & 0x3ffu;
    std::uint32_t bits;
    if (exponent == 0x1f) {
        bits = sign | 0x7f800000u | (mantissa << 13);  // infinity or NaN
    } else if (exponent != 0) {
        bits = sign | ((exponent + 112) << 23) | (mantissa << 13);
    } else if (mantissa == 0) {
        bits = sign;
    } else {
        // Subnormal: shift the mantissa up until its leading one is implicit.
        exponent = 113;
        while ((mantissa & 0x400u) == 0) {
            mantissa <<= 1;
            --exponent;
        }
        bits = sign | (exponent << 23) | ((mantissa & 0x3ffu) << 13);
    }
    return std::bit_cast<float>(bits);
}

}  // namespace

SafetensorsFile::SafetensorsFile(const std::filesystem::path& path) : path_(path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) fail(std::strerror(errno));
    struct stat status {};
    if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(fd);
        fail("not a regular file");
    }
    size_ = static_cast<std::size_t>(status.st_size);
    if (size_ < 8) {
        ::close(fd);
        fail("the file is too short to hold a header length");
    }
    void* mapping = ::mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, fd, 0);
    ::close(fd);
    if (mapping == MAP_FAILED) fail(std::string("cannot map the file: ") + std::strerror(errno));
    mapping_ = static_cast<const unsigned char*>(mapping);
    try {
        parseHeader();
    } catch (...) {
        ::munmap(const_cast<unsigned char*>(mapping_), size_);
        throw;
    }
}

SafetensorsFile::~SafetensorsFile() {
    ::munmap(const_cast<unsigned char*>(mapping_), size_);
}

void SafetensorsFile::fail(const std::string& reason) const {
    throw EmbeddingModelLoadError("Cannot load the embedding model " + path_.string() + ": " +
                                  reason);
}

void SafetensorsFile::parseHeader() {
    std::uint64_t headerLength = 0;
    std::memcpy(&headerLength, mapping_, 8);
    if (headerLength > maxHeaderLength) fail("the header length is implausibly large");
    if (headerLength > size_ - 8) fail("the file is truncated inside its header");
    data_ = mapping_ + 8 + headerLength;
    dataSize_ = size_ - 8 - headerLength;

    const auto* begin = reinterpret_cast<const char*>(mapping_ + 8);
    const nlohmann::json header =
        nlohmann::json::parse(begin, begin + headerLength, nullptr, false);
    if (header.is_discarded() || !header.is_object()) fail("the header is not a JSON object");

    for (const auto& [name, entry] : header.items()) {
        if (name == "__metadata__") {
            if (!entry.is_object()) fail("the header's __metadata__ is not an object");
            for (const auto& [key, value] : entry.items()) {
                if (!value.is_string()) fail("the metadata entry " + key + " is not a string");
                metadata_[key] = value.get<std::string>();
            }
            continue;
        }
        const std::string where = "the tensor " + name;
        if (!entry.is_object()) fail(where + " has no description");
        const auto dtype = entry.find("dtype");
        const auto shape = entry.find("shape");
        const auto offsets = entry.find("data_offsets");
        if (dtype == entry.end() || !dtype->is_string()) fail(where + " has no dtype");
        if (shape == entry.end() || !shape->is_array()) fail(where + " has no shape");
        if (offsets == entry.end() || !offsets->is_array() || offsets->size() != 2 ||
            !(*offsets)[0].is_number_unsigned() || !(*offsets)[1].is_number_unsigned())
            fail(where + " has no valid data_offsets");

        SafetensorsTensor tensor;
        tensor.dtype = dtype->get<std::string>();
        std::uint64_t count = 1;
        for (const auto& dimension : *shape) {
            if (!dimension.is_number_unsigned()) fail(where + " has a shape that is not counts");
            const std::uint64_t value = dimension.get<std::uint64_t>();
            if (__builtin_mul_overflow(count, value, &count)) fail(where + " is impossibly large");
            tensor.shape.push_back(static_cast<int64_t>(value));
        }
        const std::uint64_t first = (*offsets)[0].get<std::uint64_t>();
        const std::uint64_t last = (*offsets)[1].get<std::uint64_t>();
        if (first > last) fail(where + " ends before it begins");
        if (last > dataSize_) fail("the file is truncated: " + where + " ends past its end");
        const std::size_t width = elementSize(tensor.dtype);
        std::uint64_t bytes = 0;
        if (width != 0 && (__builtin_mul_overflow(count, width, &bytes) || bytes != last - first))
            fail(where + " of shape " + shapeText(tensor.shape) + " does not fill its " +
                 std::to_string(last - first) + " bytes");
        tensor.begin = static_cast<std::size_t>(first);
        tensor.end = static_cast<std::size_t>(last);
        tensors_.emplace(name, std::move(tensor));
    }
}

const SafetensorsTensor& SafetensorsFile::tensor(const std::string& name) const {
    const auto found = tensors_.find(name);
    if (found == tensors_.end()) fail("the file has no tensor " + name);
    return found->second;
}

std::vector<float> SafetensorsFile::floats(const std::string& name) const {
    const SafetensorsTensor& entry = tensor(name);
    const std::size_t width = elementSize(entry.dtype);
    if (width == 0) fail("the tensor " + name + " has the unsupported dtype " + entry.dtype);
    const unsigned char* bytes = data_ + entry.begin;
    const std::size_t count = (entry.end - entry.begin) / width;
    std::vector<float> result(count);
    if (entry.dtype == "F32") {
        if (count > 0) std::memcpy(result.data(), bytes, count * 4);
    } else if (entry.dtype == "F64") {
        for (std::size_t i = 0; i < count; ++i) {
            double value;
            std::memcpy(&value, bytes + 8 * i, 8);
            result[i] = static_cast<float>(value);
        }
    } else {
        const bool brain = entry.dtype == "BF16";
        for (std::size_t i = 0; i < count; ++i) {
            std::uint16_t value;
            std::memcpy(&value, bytes + 2 * i, 2);
            result[i] =
                brain ? std::bit_cast<float>(std::uint32_t(value) << 16) : halfToFloat(value);
        }
    }
    return result;
}

std::span<const unsigned char> SafetensorsFile::bytes(const std::string& name) const {
    const SafetensorsTensor& entry = tensor(name);
    return {data_ + entry.begin, entry.end - entry.begin};
}

std::string SafetensorsFile::shapeText(const std::vector<int64_t>& shape) {
    std::string text = "[";
    for (std::size_t i = 0; i < shape.size(); ++i) {
        if (i > 0) text += ", ";
        text += std::to_string(shape[i]);
    }
    return text + "]";
}

std::optional<std::string> SafetensorsFile::metadata(const std::string& key) const {
    const auto found = metadata_.find(key);
    if (found == metadata_.end()) return std::nullopt;
    return found->second;
}

}  // namespace folvane
