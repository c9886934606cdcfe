#pragma once

#include "platform/PdfPageCounter.h"

namespace folvane {

// Counts pages with MuPDF. Each call opens its own MuPDF context, so calls may
// run on any thread at once. Damaged files that MuPDF can repair are counted;
// anything it cannot open gives nullopt, never a crash.
class MuPdfPageCounter : public PdfPageCounter {
  public:
    std::optional<int> pageCount(const std::string& path) const override;
};

}  // namespace folvane
