#pragma once

#include <string>

#include "documents/PdfTextExtractor.h"
#include "documents/Redaction.h"
#include "store/DataIngestionStrategy.h"

namespace folvane {

class AppPreferences;

// The settings that steer indexing, read on the thread that owns the
// preferences when an operation starts, and handed to its background task.
struct IndexingSettings {
    DataIngestionStrategy dataIngestionStrategy = DataIngestionStrategy::smart;
    int pageCountThreshold = 300;
    int indexingParallelTask = 5;  // at least 1
    bool autoTagIndexedFiles = false;
    std::string defaultFinderTag;
    bool hasOpenAIKey = false;
    RedactionOptions redaction;
    OcrSettings ocr;

    static IndexingSettings from(const AppPreferences& preferences);
};

}  // namespace folvane
