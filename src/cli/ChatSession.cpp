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

bool ChatSession::runUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
    return queue_.runUntil(done, timeout);
}

void ChatSession::sync() {
    trigger(chat_input::Sync{});
}

void ChatSession::loadIndexes() {
    auto& err = context_.err();
    int shown = -1;
    auto subscription = viewModel_->subscribe([&] {
        const auto& s = state();
        if (s.loadingState == LoadingState::indexing && s.indexingProgress != shown) {
            shown = s.indexingProgress;
            err << "\rIndexing the documents: " << shown << "%" << std::flush;
        }
    });
    trigger(chat_input::LoadIndex{});
    if (state().loadingState == LoadingState::none) return;  // nothing to load, or not set up
    if (state().loadingState == LoadingState::loading) err << "Loading the documents' index...\n";
    runUntil([this] {
        const auto loading = state().loadingState;
        return loading == LoadingState::loaded || loading == LoadingState::failed;
    });
    if (shown >= 0) err << "\n";
    if (state().loadingState == LoadingState::failed) {
        throw std::runtime_error(state().loadingFailReason.value_or("Indexing failed."));
    }
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
    if (s.assistantState == AssistantState::failed || s.lastError) {
        err << s.lastError.value_or("The request failed.") << '\n';
        return 1;
    }
    if (cancelled && !reply) {
        err << "The request was cancelled before any answer arrived.\n";
        return 1;
    }
    return 0;
}

}  // namespace folvane
