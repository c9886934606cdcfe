#include "cli/ChatSession.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <iterator>
#include <map>
#include <ostream>
#include <set>

#include "chat/AppChatService.h"
#include "cli/CliContext.h"
#include "platform/FileUrl.h"
#include "store/AppPreferences.h"

namespace folvane {

namespace {

volatile std::sig_atomic_t interrupted = 0;

// Ctrl-C, and the end of the terminal or a polite kill, for the length of a
// request: each asks for a cancel instead of ending the program, so the reply
// so far is kept.
class InterruptGuard {
  public:
    static constexpr int signals[] = {SIGINT, SIGTERM, SIGHUP};

    InterruptGuard() {
        interrupted = 0;
        struct sigaction action {};
        action.sa_handler = [](int) { interrupted = 1; };
        sigemptyset(&action.sa_mask);
        for (size_t i = 0; i < std::size(signals); ++i)
            sigaction(signals[i], &action, &previous_[i]);
    }
    ~InterruptGuard() {
        for (size_t i = 0; i < std::size(signals); ++i)
            sigaction(signals[i], &previous_[i], nullptr);
    }
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;

  private:
    struct sigaction previous_[std::size(signals)]{};
};

}  // namespace

ChatSession::ChatSession(CliContext& context, int64_t chatId) : context_(context) {
    const auto conversation = context.service().getConversation(chatId);
    if (!conversation)
        throw std::runtime_error("No chat has the id " + std::to_string(chatId) + ".");
    viewModel_ = context.core().makeChatDetail(*conversation, queue_);
}

ChatSession::~ChatSession() {
    viewModel_.reset();
    queue_.drain();
}

void ChatSession::trigger(ChatDetailInput input) {
    viewModel_->trigger(std::move(input));
    queue_.drain();
}

void ChatSession::expectNoError() const {
    if (const auto& error = state().lastError) throw std::runtime_error(*error);
}

bool ChatSession::runUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
    return queue_.runUntil(done, timeout);
}

void ChatSession::sync() {
    trigger(chat_input::Sync{});
}

int ChatSession::loadIndexes(bool required) {
    const int pages = runIndexing(chat_input::LoadIndex{});
    expectNoError();
    const auto& s = state();
    if (s.loadingState == LoadingState::failed) {
        throw std::runtime_error(s.loadingFailReason.value_or("Indexing failed."));
    }
    if (required && s.loadingState == LoadingState::none) {
        if (s.allDocuments.empty()) throw std::runtime_error("The chat has no documents.");
        throw std::runtime_error(
            "The chat is not set up yet: store an OpenAI API key (key set) or give the chat a "
            "custom model.");
    }
    return pages;
}

int ChatSession::runIndexing(ChatDetailInput input) {
    auto& err = context_.err();
    const auto reading = [](const ChatDetailState& s) {
        return std::find_if(
            s.allDocuments.begin(), s.allDocuments.end(),
            [](const DocumentInfo& d) { return d.indexingState == IndexingState::indexing; });
    };
    const auto settled = [&](const ChatDetailState& s) {
        return s.loadingState != LoadingState::indexing &&
               s.loadingState != LoadingState::loading &&
               s.loadingState != LoadingState::indexingExtra && reading(s) == s.allDocuments.end();
    };
    // A document's pages count once it has gone from being read to indexed.
    std::set<int64_t> underway;
    std::map<int64_t, int> pages;
    int shown = -1;
    auto subscription = viewModel_->subscribe([&] {
        const auto& s = state();
        for (const auto& document : s.allDocuments) {
            const int64_t id = document.bookmark.id;
            if (document.indexingState == IndexingState::indexing) {
                underway.insert(id);
            } else if (underway.erase(id) > 0 && document.indexingState == IndexingState::indexed) {
                pages[id] = s.totalPageNumber;
            }
        }
        if (!settled(s) && reading(s) != s.allDocuments.end() && s.indexingProgress != shown) {
            shown = s.indexingProgress;
            err << "\rIndexing the documents: " << shown << "%" << std::flush;
        }
    });
    trigger(std::move(input));
    if (state().loadingState == LoadingState::loading) err << "Loading the documents' index...\n";
    runUntil([&] { return settled(state()); });
    if (shown >= 0) err << "\n";
    int total = 0;
    for (const auto& [id, count] : pages) total += count;
    return total;
}

bool ChatSession::printDocument(const DocumentInfo& document) {
    context_.out() << document.bookmark.id << '\t' << rawValue(document.indexingState) << '\t'
                   << document.fileUrl << '\n';
    const auto path = pathFromFileUrl(document.fileUrl);
    if (document.indexingState != IndexingState::failed) {
        if (!document.warning.empty()) {
            context_.err() << (path ? *path : document.fileUrl) << ": " << document.warning << '\n';
        }
        return false;
    }
    context_.err() << (path ? *path : document.fileUrl) << ": "
                   << (document.errorMessage.empty() ? "Failed to process the document."
                                                     : document.errorMessage)
                   << '\n';
    return true;
}

int ChatSession::streamReply(const std::function<void()>& start) {
    auto& out = context_.out();
    auto& err = context_.err();
    std::string printed;
    AssistantState shownState = state().assistantState;
    const auto show = [&](const std::string& content) {
        if (content.size() <= printed.size() || !content.starts_with(printed)) return;
        out << content.substr(printed.size()) << std::flush;
        printed = content;
    };
    auto subscription = viewModel_->subscribe([&] {
        const auto& s = state();
        if (s.assistantState != shownState) {
            shownState = s.assistantState;
            if (const auto words = statusWords(shownState); !words.empty()) err << words << '\n';
        }
        if (s.liveMessage) show(s.liveMessage->content);
    });

    const size_t before = state().messages.size();
    InterruptGuard guard;
    start();
    queue_.drain();
    bool cancelled = false;
    while (!runUntil([this] { return !viewModel_->isRequestRunning(); },
                     std::chrono::milliseconds(50))) {
        if (interrupted && !cancelled) {
            cancelled = true;
            viewModel_->trigger(chat_input::CancelRequest{});
        }
    }
    viewModel_->waitForRequests();
    queue_.drain();

    const auto& s = state();
    const Message* reply = nullptr;
    if (s.messages.size() > before && s.messages.back().role == "assistant") {
        reply = &s.messages.back();
        if (reply->content.starts_with(printed)) out << reply->content.substr(printed.size());
    }
    if (!printed.empty() || reply) out << "\n";
    // An answer that failed gets no pages and no cost: only the error's words.
    if (s.assistantState == AssistantState::failed || s.lastError) {
        err << s.lastError.value_or("The request failed.") << '\n';
        return 1;
    }
    if (reply && reply->references && !reply->references->empty()) {
        // Pages by document, in the order they are cited.
        std::vector<int64_t> order;
        std::map<int64_t, std::vector<int>> pages;
        for (const auto& reference : *reply->references) {
            if (!reference.page) continue;
            auto& list = pages[reference.bookmarkId];
            if (list.empty()) order.push_back(reference.bookmarkId);
            if (std::find(list.begin(), list.end(), *reference.page) == list.end()) {
                list.push_back(*reference.page);
            }
        }
        for (const int64_t bookmarkId : order) {
            out << "\nPage: ";
            const auto& list = pages[bookmarkId];
            for (size_t i = 0; i < list.size(); ++i) out << (i ? ", " : "") << list[i];
            if (s.allDocuments.size() > 1) {
                for (const auto& document : s.allDocuments) {
                    if (document.bookmark.id != bookmarkId) continue;
                    const auto path = pathFromFileUrl(document.fileUrl);
                    const std::string file = path ? *path : document.fileUrl;
                    out << " (" << file.substr(file.find_last_of('/') + 1) << ")";
                }
            }
        }
        out << "\n";
    }
    if (reply) {
        char cost[64];
        std::snprintf(cost, sizeof cost, "%.6f", s.conversation.cost);
        out << "\nCost of the chat: $" << cost << "\n";
    }
    if (cancelled && !reply) {
        err << "The request was cancelled before any answer arrived.\n";
        return 1;
    }
    return 0;
}

}  // namespace folvane
