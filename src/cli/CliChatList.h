#pragma once

#include <cstdint>
#include <memory>

#include "cli/CliContext.h"
#include "conversation/ChatListViewModel.h"
#include "runtime/BlockingMainQueue.h"

namespace folvane {

// The chat list as the command line drives it: the same ChatListViewModel the
// start window holds, with real chat view models, synced once on first use.
class CliChatList {
  public:
    explicit CliChatList(CliContext& context);
    ~CliChatList();

    ChatListViewModel& viewModel() { return *list_; }
    MainQueue& mainQueue() { return mainQueue_; }
    // Runs what the view models posted.
    void drain() { mainQueue_.drain(); }

    // The listed chat with this id, its messages loaded; throws with the
    // user's words when there is none.
    ChatDetailRef chat(int64_t id);

  private:
    CliContext& context_;
    BlockingMainQueue mainQueue_;
    std::unique_ptr<ChatListViewModel> list_;
};

}  // namespace folvane
