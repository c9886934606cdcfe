#pragma once

#include <filesystem>

namespace folvane::test {

// Makes a file or a folder read-only for the running process, root included
// (for root, through the file system's immutable attribute), and writable again
// when destroyed. active() is false where neither way works here.
class ReadOnlyPath {
  public:
    explicit ReadOnlyPath(std::filesystem::path path);
    ~ReadOnlyPath();
    ReadOnlyPath(const ReadOnlyPath&) = delete;
    ReadOnlyPath& operator=(const ReadOnlyPath&) = delete;

    bool active() const { return active_; }

  private:
    std::filesystem::path path_;
    std::filesystem::perms before_;
    bool immutable_ = false;
    bool active_ = false;
};

}  // namespace folvane::test
