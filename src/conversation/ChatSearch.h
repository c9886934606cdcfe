#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "conversation/ChatDetailInput.h"
#include "runtime/DebounceTimer.h"

namespace folvane {

class ChatDetailViewModel;
class MainQueue;
struct ChatDetailState;

// The find field of one chat: a keyword waits out the debounce delay, then
// goes to the viewer (scope pdf) or searches the messages on a task of its own
// (scope chat). Only the last search of a burst writes its results.
class ChatSearch {
  public:
    static constexpr std::chrono::milliseconds searchDelay{500};

    ChatSearch(ChatDetailViewModel& chat, MainQueue& mainQueue);
    // Drops the waiting keyword and waits for a running search.
    ~ChatSearch();
    ChatSearch(const ChatSearch&) = delete;
    ChatSearch& operator=(const ChatSearch&) = delete;

    void find(const std::string& keyword, SearchScope scope);

  private:
    void update(const std::function<void(ChatDetailState&)>& change);
    void runSearch(const std::string& keyword);

    ChatDetailViewModel& chat_;
    MainQueue& mainQueue_;
    // Posted blocks hold it weakly: a block that outlives the search does nothing.
    std::shared_ptr<ChatSearch*> alive_;
    DebounceTimer debounceTimer_;
    uint64_t generation_ = 0;
    std::jthread task_;
};

}  // namespace folvane
