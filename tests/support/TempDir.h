#pragma once

#include <filesystem>
#include <string>

namespace folvane::test {

// A fresh directory under the system's temporary directory, removed with the object.
class TempDir {
  public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::string operator/(const std::string& name) const { return (path_ / name).string(); }

  private:
    std::filesystem::path path_;
};

// Writes bytes to a file, creating its folder.
void writeFile(const std::filesystem::path& path, const std::string& bytes);
std::string readFile(const std::filesystem::path& path);

// The folder of the built resources (seed database, migrations, demo PDF).
std::string resourceDir();

}  // namespace folvane::test
