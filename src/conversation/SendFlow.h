#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <stop_token>
#include <string>
#include <thread>

#include "conversation/ChatContextMode.h"
#include "conversation/RequestSink.h"
#include "store/Date.h"
#include "store/Message.h"

namespace folvane {

class ChatDetailViewModel;
struct ChatDetailServices;
struct ChatDetailState;

// The send flow of one chat: accepting a send (store the question, publish
// the thinking state), the request task that answers it, the last step that
// stores the reply, and the operations that send again or change the
// messages of the flow (regenerate, continue, edit, the context markers,
// deleting all). It owns the requests: at most one runs, a new send cancels
// it, and a request that a newer one replaced never writes into the newer
// one's state. Everything here runs on the main thread; the request tasks post
// their changes to the main queue. A store call that fails throws, and the
// chat's view model shows it.
class SendFlow {
  public:
    SendFlow(ChatDetailViewModel& chat, const ChatDetailServices& services);
    // Stops the running requests and waits for them.
    ~SendFlow();
    SendFlow(const SendFlow&) = delete;
    SendFlow& operator=(const SendFlow&) = delete;

    void sendMessage(std::string content, bool shouldSave, ChatContextMode contextMode,
                     std::string stringContext);
    void regenerate();
    void continueGenerating();
    void updateMessageContent(int64_t id, const std::string& content, bool resend);
    void cancelRequest();
    void resetContext();
    void clearContextMarkers();
    void deleteAllMessages();

    // True while a request's task has not reached its end.
    bool isRequestRunning() const;
    // Blocks until every request task has ended.
    void waitForRequests();

  private:
    friend class RequestSink;
    struct RequestTask {
        std::atomic<bool> finished = false;
        std::jthread thread;  // requested to stop and joined when the object goes
    };

    void update(const std::function<void(ChatDetailState&)>& change);
    // Inserts a message and reads it back.
    Message storeMessage(const Message& message);
    // A send that could not start: its words in lastError, nothing running.
    void refuse(const std::exception& error);
    // contextSince, once stored, in the view model and the state.
    void showContextSince(Date since);
    // Runs for the current request only (RequestSink sees to that).
    void finishRequest(const RequestSink::Outcome& outcome);
    // Stores the reply and its cost; throws when it cannot.
    void storeReply(const Message& live, const RequestSink::Outcome& outcome);
    void pruneFinishedRequests();

    ChatDetailViewModel& chat_;
    const ChatDetailServices& services_;
    // Posted blocks hold it weakly: a block that outlives the flow does nothing.
    std::shared_ptr<SendFlow*> alive_;
    uint64_t requestGeneration_ = 0;
    Message answered_;  // the stored message that the current request answers
    std::shared_ptr<RequestTask> request_;
    std::list<std::shared_ptr<RequestTask>> replacedRequests_;
};

}  // namespace folvane
