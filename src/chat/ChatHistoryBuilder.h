#pragma once

#include <string>
#include <vector>

#include "providers/Chat.h"
#include "store/Conversation.h"
#include "store/Message.h"

namespace folvane {

class GPTEncoder;

// Turns a system instruction and a chat's messages into the messages of one
// request, fitted into the model's context length: the instruction and the
// message to answer are never cut, the oldest history goes first, and when the
// two alone do not fit the request is refused.
class ChatHistoryBuilder {
  public:
    explicit ChatHistoryBuilder(const GPTEncoder& encoder) : encoder_(encoder) {}

    // messages are in time order, the one to answer last. Throws
    // AppChatServiceError (emptyMessage, messageTooLong).
    std::vector<Chat> buildChats(std::string systemInstruction,
                                 const std::vector<Message>& messages,
                                 const Conversation& conversation, int contextLength) const;

    // Tokens of the plain-string contents and function calls, nothing else:
    // pictures, names, roles and per-message overhead cost nothing.
    size_t tokenLength(const std::vector<Chat>& chats) const;

    // One stored message as it goes on the wire; pictures become JPEG data
    // URLs, and a picture that cannot be read is left out.
    static Chat toChat(const Message& message);

  private:
    const GPTEncoder& encoder_;
};

}  // namespace folvane
