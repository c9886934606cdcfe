#include "cli/CliIndexer.h"

#include <stdexcept>

#include "chat/AppChatService.h"
#include "cli/CliContext.h"
#include "store/AppPreferences.h"

namespace folvane {

namespace {

constexpr int barWidth = 30;

}  // namespace

CliIndexer::CliIndexer(CliContext& context, int64_t chatId)
    : context_(context), start_(std::chrono::steady_clock::now()) {
    AppChatService& service = context.service();
    const auto conversation = service.getConversation(chatId);
    if (!conversation) {
        throw std::runtime_error("No chat has the id " + std::to_string(chatId) + ".");
    }
    indexer_ = context.core().makeIndexer(
        *conversation, [this](const IndexingUpdate& update) { onUpdate(update); });
}

CliIndexer::~CliIndexer() {
    indexer_.reset();
}

void CliIndexer::onUpdate(const IndexingUpdate& update) {
    std::lock_guard lock(mutex_);
    for (const auto& document : update.documents) {
        const int64_t id = document.bookmark.id;
        if (document.indexingState == IndexingState::indexing) current_ = id;
        if (document.indexingState == IndexingState::indexed &&
            documentStates_[id] == IndexingState::indexing) {
            pages_[id] = update.totalPageNumber;
        }
        documentStates_[id] = document.indexingState;
    }
    const bool embedding = update.loadingState == LoadingState::indexing ||
                           update.loadingState == LoadingState::indexingExtra ||
                           (current_ != 0 && documentStates_[current_] == IndexingState::indexing);
    if (!embedding || update.indexingProgress == shown_) return;
    shown_ = update.indexingProgress;
    const int filled = shown_ * barWidth / 100;
    context_.err() << "\r[" << std::string(size_t(filled), '#')
                   << std::string(size_t(barWidth - filled), '-') << "] " << shown_ << "%"
                   << std::flush;
}

void CliIndexer::endBar() {
    std::lock_guard lock(mutex_);
    if (shown_ >= 0) context_.err() << '\n';
    shown_ = -1;
}

void CliIndexer::load() {
    if (!indexer_->loadIndex()) {
        const auto state = indexer_->state();
        if (state.documents.empty() && indexer_->bookmarks().empty()) {
            throw std::runtime_error("The chat has no documents.");
        }
        throw std::runtime_error(
            "The chat is not set up yet: store an OpenAI API key (key set) or give the chat a "
            "custom model.");
    }
    indexer_->wait();
    endBar();
    const auto state = indexer_->state();
    if (state.loadingState == LoadingState::failed) {
        throw std::runtime_error(state.loadingFailReason);
    }
}

int CliIndexer::processedPages() const {
    std::lock_guard lock(mutex_);
    int pages = 0;
    for (const auto& [id, count] : pages_) pages += count;
    return pages;
}

double CliIndexer::seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

}  // namespace folvane
