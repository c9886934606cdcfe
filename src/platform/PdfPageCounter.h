#pragma once

#include <optional>
#include <string>

namespace folvane {

// Counts the pages of a PDF file.
class PdfPageCounter {
  public:
    virtual ~PdfPageCounter() = default;

    // The number of pages; nullopt when the file cannot be read or is not a PDF.
    virtual std::optional<int> pageCount(const std::string& path) const = 0;
};

}  // namespace folvane
