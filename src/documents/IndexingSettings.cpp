#include "documents/IndexingSettings.h"

#include <algorithm>

#include "store/AppPreferences.h"

namespace folvane {

IndexingSettings IndexingSettings::from(const AppPreferences& preferences) {
    IndexingSettings settings;
    settings.dataIngestionStrategy = preferences.dataIngestionStrategy();
    settings.pageCountThreshold = preferences.pageCountThreshold();
    settings.indexingParallelTask = std::max(1, preferences.indexingParallelTask());
    settings.autoTagIndexedFiles = preferences.autoTagIndexedFiles();
    settings.defaultFinderTag = preferences.defaultFinderTag();
    settings.hasOpenAIKey = !preferences.openAIKey().empty();
    settings.redaction = redactionOptions(preferences);
    settings.ocr = OcrSettings::from(preferences);
    return settings;
}

}  // namespace folvane
