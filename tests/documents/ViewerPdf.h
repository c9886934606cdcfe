#pragma once

#include <memory>
#include <string>

#include "documents/PdfViewerDocument.h"
#include "support/TempDir.h"
#include "support/TestPdf.h"

namespace folvane::test {

// Writes the bytes to doc.pdf in the folder and opens it for the viewer.
inline std::unique_ptr<PdfViewerDocument> openPdf(const TempDir& dir, const std::string& bytes) {
    const std::string path = dir / "doc.pdf";
    writeFile(path, bytes);
    return PdfViewerDocument::open(path);
}

}  // namespace folvane::test
