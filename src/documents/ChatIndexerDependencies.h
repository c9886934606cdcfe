#pragma once

#include "documents/OcrWorkerPool.h"

namespace folvane {

class AppPreferences;
class DocumentStore;
class Embedders;
class FileTagStore;

// What a chat's indexer works with. The references must outlive it.
struct ChatIndexerDependencies {
    const DocumentStore& store;
    AppPreferences& preferences;
    Embedders& embedders;
    const FileTagStore& fileTags;
    TextRecognizerFactory makeRecognizer;  // empty: Tesseract
};

}  // namespace folvane
