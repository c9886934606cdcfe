#include <gmock/gmock.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "chat/AppChatServiceError.h"
#include "conversation/ChatSessionFixture.h"

namespace folvane {
namespace {

using namespace std::chrono_literals;
namespace in = chat_input;

const std::vector<std::string> pages = {
    "Bitcoin is a peer to peer electronic cash system.",
    "Mining secures the chain with proof of work.",
};

// While it lives, the calling thread cannot write where the file's mode says
// no, even as root: the override of file permissions leaves its effective set.
class NoPermissionOverride {
  public:
    NoPermissionOverride() {
        syscall(SYS_capget, &header_, saved_);
        __user_cap_data_struct reduced[2] = {saved_[0], saved_[1]};
        reduced[0].effective &= ~(1u << CAP_DAC_OVERRIDE);
        syscall(SYS_capset, &header_, reduced);
    }
    ~NoPermissionOverride() { syscall(SYS_capset, &header_, saved_); }

  private:
    __user_cap_header_struct header_{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct saved_[2]{};
};

class SendFailureTest : public test::ChatSessionFixture {};

TEST_F(SendFailureTest, EveryMessageInputOnAReadOnlyStoreSaysSoAndChangesNothing) {
    test::serveChatScripts(server, {test::textScript({"Proof of work."})});
    const auto chat = makeChat(pages);
    {
        auto viewModel = openLoaded(chat);
        viewModel->trigger(in::AddMessage{"How is the chain secured?"});
        finish(*viewModel);
    }
    const auto before = storedMessages(chat.id);
    ASSERT_EQ(before.size(), 2u);
    const int64_t questionId = before[0].id;

    const std::string path = dir / "db.sqlite3";
    ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
    NoPermissionOverride readOnly;
    AppChatService store(SqliteConnection::open(path), preferences, nullptr,
                         std::make_shared<GPTEncoder>(test::resourceDir()));
    const std::vector<std::pair<const char*, ChatDetailInput>> inputs = {
        {"ask", in::AddMessage{"What is mining?"}},
        {"edit", in::UpdateMessageContent{questionId, "Edited", false}},
        {"edit and resend", in::UpdateMessageContent{questionId, "Edited", true}},
        {"regenerate", in::Regenerate{}},
        {"reset the context", in::ResetContext{}},
        {"clear the markers", in::ClearContextMarkers{}},
        {"delete the messages", in::DeleteAllMessages{}},
        {"delete one message", in::DeleteMessage{questionId}},
    };
    for (const auto& [name, input] : inputs) {
        SCOPED_TRACE(name);
        ChatDetailViewModel viewModel(ChatDetailServices{.chatService = store,
                                                         .preferences = preferences,
                                                         .mainQueue = queue,
                                                         .encoder = service.encoder(),
                                                         .makeIndexer = {},
                                                         .localEmbedder = {}},
                                      *store.getConversation(chat.id));
        viewModel.trigger(in::Sync{});
        viewModel.trigger(input);
        queue.drain();
        const auto& state = viewModel.state();
        ASSERT_TRUE(state.lastError);
        EXPECT_THAT(*state.lastError, ::testing::HasSubstr("readonly"));
        EXPECT_FALSE(viewModel.isRequestRunning());
        EXPECT_EQ(state.messages, before);
        EXPECT_EQ(store.getMessages(chat.id, 0), before);
    }
    ::chmod(path.c_str(), 0644);
}

TEST_F(SendFailureTest, AnActionWhoseSecondWriteFindsTheDiskFullChangesNothing) {
    test::serveChatScripts(server, {test::textScript({"Proof of work."})});
    const auto chat = makeChat(pages);
    {
        auto viewModel = openLoaded(chat);
        viewModel->trigger(in::AddMessage{"How is the chain secured?"});
        finish(*viewModel);
        viewModel->trigger(in::ResetContext{});
    }
    const auto before = storedMessages(chat.id);
    ASSERT_EQ(before.size(), 3u);  // the question, the answer, a marker
    const Date since = service.getConversation(chat.id)->contextSince;
    ASSERT_NE(since, distantPast());

    // Each action's first write (a column in place) fits; its second deletes
    // rows, and a trigger makes that deletion grow the file past its limit:
    // SQLite's own "disk is full", half-way through the action.
    db->execute(
        "CREATE TABLE ballast (b BLOB); "
        "CREATE TRIGGER ballast BEFORE DELETE ON messages "
        "BEGIN INSERT INTO ballast VALUES (zeroblob(1000000)); END");
    int64_t pageCount = 0;
    {
        auto query = db->prepare("PRAGMA page_count");
        query.step();
        pageCount = query.int64(0);
    }
    db->execute("PRAGMA max_page_count = " + std::to_string(pageCount));
    // The first writes alone still fit: the failure comes half-way.
    ASSERT_NO_THROW(service.updateContextSince(chat.id, since));
    ASSERT_NO_THROW(service.updateMessageContent(before[0].id, before[0].content));

    const std::vector<std::pair<const char*, ChatDetailInput>> inputs = {
        {"reset the context", in::ResetContext{}},
        {"clear the markers", in::ClearContextMarkers{}},
        {"edit and resend", in::UpdateMessageContent{before[0].id, "Edited", true}},
    };
    for (const auto& [name, input] : inputs) {
        SCOPED_TRACE(name);
        auto viewModel = open(*service.getConversation(chat.id));
        viewModel->trigger(in::Sync{});
        viewModel->trigger(input);
        queue.drain();
        const auto& state = viewModel->state();
        ASSERT_TRUE(state.lastError);
        EXPECT_THAT(*state.lastError, ::testing::HasSubstr("the disk is full"));
        EXPECT_FALSE(viewModel->isRequestRunning());
        EXPECT_EQ(state.messages, before);
        EXPECT_EQ(state.conversation.contextSince, since);
        EXPECT_EQ(storedMessages(chat.id), before);
        EXPECT_EQ(service.getConversation(chat.id)->contextSince, since);
    }
}

TEST_F(SendFailureTest, AReplyIsStoredOnlyIntoTheChatItWasAskedIn) {
    auto slow = test::textScript({"Late ", "reply"});
    slow.holdAfter = 2;
    test::serveChatScripts(server, {slow});
    const auto chat = makeChat(pages);
    auto viewModel = openLoaded(chat);
    viewModel->trigger(in::AddMessage{"What is bitcoin?"});
    ASSERT_TRUE(waitFor([&] {
        const auto& live = viewModel->state().liveMessage;
        return live && live->content == "Late";
    }));
    // The chat goes while its answer streams, and a new one may take its id.
    service.deleteConversation(chat.id);
    const auto newer = makeChat(pages, "gpt-4", "other.pdf");
    server.release();
    finish(*viewModel);

    EXPECT_EQ(viewModel->state().lastError,
              AppChatServiceError::description(AppChatServiceError::Case::conversationGone));
    EXPECT_TRUE(storedMessages(newer.id).empty());
    EXPECT_TRUE(storedMessages(chat.id).empty());
}

TEST_F(SendFailureTest, AnEmptyQuestionIsRefusedWithAMessage) {
    const auto chat = makeChat(pages);
    auto viewModel = open(chat);
    viewModel->trigger(in::AddMessage{" \n "});
    EXPECT_EQ(viewModel->state().lastError, "The message cannot be empty.");
    EXPECT_FALSE(viewModel->isRequestRunning());
    EXPECT_TRUE(storedMessages(chat.id).empty());
}

}  // namespace
}  // namespace folvane
