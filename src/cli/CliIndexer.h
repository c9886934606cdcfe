#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

#include "documents/ChatIndexer.h"

namespace folvane {

class CliContext;

// A chat's indexer for the document commands: made on the service's
// embedders, drawing a progress bar on standard error while documents are
// embedded, and counting the pages it processed.
class CliIndexer {
  public:
    // Throws when there is no chat with this id.
    CliIndexer(CliContext& context, int64_t chatId);
    ~CliIndexer();

    // Loads the stored rows and embeds the other documents, and waits. Throws
    // with the reason when the chain fails or cannot start.
    void load();
    // Runs an operation that starts a chain, and waits for it.
    template <typename Operation>
    void run(Operation&& operation) {
        operation(*indexer_);
        indexer_->wait();
        endBar();
    }

    ChatIndexer& indexer() { return *indexer_; }
    // The pages of the documents processed so far, and the seconds spent.
    int processedPages() const;
    double seconds() const;

  private:
    void onUpdate(const IndexingUpdate& update);
    void endBar();

    CliContext& context_;
    std::chrono::steady_clock::time_point start_;
    mutable std::mutex mutex_;
    std::map<int64_t, IndexingState> documentStates_;
    int64_t current_ = 0;
    std::map<int64_t, int> pages_;  // of the documents processed
    int shown_ = -1;
    std::unique_ptr<ChatIndexer> indexer_;
};

}  // namespace folvane
