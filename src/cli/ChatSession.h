#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include "conversation/ChatDetailViewModel.h"
#include "runtime/BlockingMainQueue.h"

namespace folvane {

class CliContext;

// One chat as the command line drives it: its ChatDetailViewModel over the
// shared objects of the context, and the main queue that the CLI runs itself.
// Commands send inputs and read the state; they decide nothing of their own.
class ChatSession {
  public:
    // Throws when no chat has the id.
    ChatSession(CliContext& context, int64_t chatId);
    ~ChatSession();

    ChatDetailViewModel& viewModel() { return *viewModel_; }
    const ChatDetailState& state() const { return viewModel_->state(); }

    // Sends an input and runs what it posted.
    void trigger(ChatDetailInput input);
    // A failed input leaves its words in lastError: throws them.
    void expectNoError() const;
    // Runs the main queue until done() holds; false on timeout.
    bool runUntil(const std::function<bool()>& done,
                  std::chrono::milliseconds timeout = std::chrono::hours(24));

    // Loads the chat's messages.
    void sync();
    // Loads or builds the chat's indexes, with the progress on standard error.
    // Throws with the fail reason when they could not be built; with
    // `required`, also when they cannot start (no documents, the chat not set
    // up). Returns the pages of the documents embedded meanwhile.
    int loadIndexes(bool required = false);
    // Sends an input that starts indexing (LoadIndex, AddDocuments,
    // RebuildIndex) and runs the main queue until the chat's documents have
    // settled: none is being read and the indexes are loaded, failed or not
    // started. The progress goes to standard error. Returns the pages of the
    // documents embedded meanwhile.
    int runIndexing(ChatDetailInput input);
    // One line on standard output for a document: its bookmark id, its state
    // and its file; a failed document's reason, or an indexed one's warning,
    // goes to standard error. True when it failed.
    bool printDocument(const DocumentInfo& document);
    // Starts a request with start() and streams the reply to standard output,
    // the assistant's states to standard error, then the reply's references
    // and the chat's cost. Ctrl-C cancels the request; the reply so far is
    // kept. Returns the exit status: 1 when the request failed.
    int streamReply(const std::function<void()>& start);

  private:
    CliContext& context_;
    BlockingMainQueue queue_;
    std::unique_ptr<ChatDetailViewModel> viewModel_;
};

}  // namespace folvane
