#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace folvane {

// One tensor's entry in a safetensors header: its element type, its shape and
// where its bytes lie, relative to the start of the data block.
struct SafetensorsTensor {
    std::string dtype;
    std::vector<int64_t> shape;
    std::size_t begin = 0;
    std::size_t end = 0;
};

// A safetensors file, memory-mapped: an 8-byte little-endian header length, a
// JSON header naming each tensor's dtype, shape and data offsets, then the
// data. Every entry is checked against the file's size when it is opened, so
// a truncated or damaged file throws EmbeddingModelLoadError (what() names the
// file and the fault) and never reads out of bounds.
class SafetensorsFile {
  public:
    explicit SafetensorsFile(const std::filesystem::path& path);
    ~SafetensorsFile();
    SafetensorsFile(const SafetensorsFile&) = delete;
    SafetensorsFile& operator=(const SafetensorsFile&) = delete;

    const std::filesystem::path& path() const { return path_; }
    bool contains(const std::string& name) const { return tensors_.contains(name); }
    const std::map<std::string, SafetensorsTensor>& tensors() const { return tensors_; }
    // The tensor's entry; EmbeddingModelLoadError when the file has none of that name.
    const SafetensorsTensor& tensor(const std::string& name) const;
    // The tensor's elements converted to floats (F32, F16, BF16 and F64 are read).
    std::vector<float> floats(const std::string& name) const;
    // The tensor's bytes as they lie in the file.
    std::span<const unsigned char> bytes(const std::string& name) const;
    // A value of the header's "__metadata__" map.
    std::optional<std::string> metadata(const std::string& key) const;

    // An EmbeddingModelLoadError whose text names this file.
    [[noreturn]] void fail(const std::string& reason) const;

    // "[30522, 768]", for messages.
    static std::string shapeText(const std::vector<int64_t>& shape);

  private:
    void parseHeader();

    std::filesystem::path path_;
    const unsigned char* mapping_ = nullptr;
    std::size_t size_ = 0;
    const unsigned char* data_ = nullptr;
    std::size_t dataSize_ = 0;
    std::map<std::string, SafetensorsTensor> tensors_;
    std::map<std::string, std::string> metadata_;
};

}  // namespace folvane
