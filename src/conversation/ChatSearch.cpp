#include "conversation/ChatSearch.h"

#include "conversation/ChatDetailViewModel.h"
#include "conversation/MessageSearch.h"
#include "runtime/MainQueue.h"

namespace folvane {

ChatSearch::ChatSearch(ChatDetailViewModel& chat, MainQueue& mainQueue)
    : chat_(chat),
      mainQueue_(mainQueue),
      alive_(std::make_shared<ChatSearch*>(this)),
      debounceTimer_(mainQueue, searchDelay) {}

ChatSearch::~ChatSearch() {
    alive_.reset();
    debounceTimer_.cancel();
}

void ChatSearch::update(const std::function<void(ChatDetailState&)>& change) {
    chat_.updateState(change);
}

void ChatSearch::find(const std::string& keyword, SearchScope scope) {
    if (scope == SearchScope::chat) {
        update([&](ChatDetailState& s) { s.isSearching = !keyword.empty(); });
    }
    debounceTimer_.start([this, keyword, scope] {
        if (scope == SearchScope::pdf) {
            chat_.state().pageNavigator->find.notify(keyword);
        } else if (!keyword.empty()) {
            runSearch(keyword);
        } else {
            ++generation_;
            update([](ChatDetailState& s) {
                s.searchKeyword.clear();
                s.isSearching = false;
                s.searchResults.clear();
            });
        }
    });
}

void ChatSearch::runSearch(const std::string& keyword) {
    const uint64_t generation = ++generation_;
    update([&](ChatDetailState& s) {
        s.searchKeyword = keyword;
        s.isSearching = true;
        s.searchResults.clear();
    });
    std::weak_ptr<ChatSearch*> alive = alive_;
    task_ = std::jthread(
        [alive, generation, keyword, messages = chat_.state().messages, &mainQueue = mainQueue_] {
            auto results = searchMessages(messages, keyword);
            mainQueue.post([alive, generation, results = std::move(results)]() mutable {
                auto self = alive.lock();
                if (!self || (*self)->generation_ != generation) return;
                (*self)->update([&](ChatDetailState& s) {
                    s.searchResults = std::move(results);
                    s.isSearching = false;
                });
            });
        });
}

}  // namespace folvane
