#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "store/IndexItem.h"

namespace folvane {

// Exports index items as a CSV file in a documents folder.
class Files {
  public:
    // Writes into the given folder (the caller's choice, the user's
    // documents folder for the application: AppPaths::documentsDirectory).
    explicit Files(std::filesystem::path documentsDirectory);

    // Writes <documents>/<name>.csv atomically and gives its path; throws on a file error.
    std::filesystem::path saveCSV(const std::vector<IndexItem>& items,
                                  const std::string& name) const;

    // The file's content: a header line and one line per item, every field quoted.
    static std::string csvText(const std::vector<IndexItem>& items);

  private:
    std::filesystem::path documentsDirectory_;
};

}  // namespace folvane
