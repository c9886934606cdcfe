#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "chat/AppChatService.h"
#include "conversation/ChatListViewModel.h"
#include "conversation/FileOpener.h"
#include "platform/FileUrl.h"
#include "store/AppPreferences.h"
#include "support/TempDir.h"
#include "support/TestDatabase.h"
#include "support/TestPdf.h"

namespace folvane {
namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

ChatDetailState stateOf(const Conversation& conversation) {
    ChatDetailState state;
    state.conversation = conversation;
    return state;
}

// Stands in for the chat view model, which the list only makes and keeps.
class ListedChat final : public PublishingViewModel<ChatDetailState, ChatDetailInput> {
  public:
    explicit ListedChat(const Conversation& conversation)
        : PublishingViewModel(stateOf(conversation)) {}
    void trigger(ChatDetailInput) override {}
};

class ChatListViewModelTest : public ::testing::Test {
  protected:
    test::TempDir dir;
    std::shared_ptr<SqliteConnection> db = test::makeDatabase(dir / "db.sqlite3");
    AppPreferences preferences;
    AppChatService service{db, preferences};
    int made = 0;
    int chatsMade = 0;
    ChatListViewModel list{service, [this](const Conversation& conversation) {
                               ++made;
                               return std::make_shared<ListedChat>(conversation);
                           }};

    std::vector<int64_t> listedIds() const {
        std::vector<int64_t> ids;
        for (const auto& chat : list.state().chats) ids.push_back(chat.id());
        return ids;
    }

    int64_t newChat(const std::string& title) {
        Conversation conversation;
        conversation.title = title;
        conversation.bookmarkId = 1;
        const int64_t id = ConversationTable(db).insert(conversation);
        // Each later than the one before, and than the demo chat.
        service.updateUpdatedAt(id, now() + std::chrono::hours(++chatsMade));
        return id;
    }

    int64_t addMessage(int64_t chatId, const std::string& role, const std::string& content) {
        Message message;
        message.conversationId = chatId;
        message.role = role;
        message.content = content;
        return service.insertMessage(message);
    }

    int64_t count(const std::string& sql) {
        auto query = db->prepare(sql);
        query.step();
        return query.int64(0);
    }

    std::string pdfUrl(const std::string& name) {
        const std::string path = dir / name;
        test::writeFile(path, test::makePdf({"Page one"}));
        return fileUrlFromPath(path);
    }
};

TEST_F(ChatListViewModelTest, SyncLoadsEverythingOnceAndLaterOnlyNewerRows) {
    list.trigger(chat_list_input::Sync{});
    ASSERT_THAT(listedIds(), ElementsAre(1));  // the demo chat of the seed
    const auto demo = list.state().chats.front().wrapped();
    EXPECT_EQ(made, 1);

    int notified = 0;
    auto subscription = list.subscribe([&] { ++notified; });
    list.trigger(chat_list_input::Sync{});
    EXPECT_EQ(notified, 0);
    EXPECT_EQ(made, 1);
    EXPECT_EQ(list.state().chats.front().wrapped(), demo);

    const int64_t second = newChat("Second");
    const int64_t third = newChat("Third");
    list.trigger(chat_list_input::Sync{});
    EXPECT_THAT(listedIds(), ElementsAre(third, second, 1));
    EXPECT_EQ(made, 3);
    EXPECT_EQ(list.state().chats.back().wrapped(), demo);
    EXPECT_EQ(list.state().newChatFocusId, 0);
}

TEST_F(ChatListViewModelTest, AddingPutsTheChatFirstAndFocusesIt) {
    list.trigger(chat_list_input::Sync{});
    const int64_t id = newChat("Added");
    list.trigger(chat_list_input::AddConversation{service.getConversation(id).value()});
    EXPECT_THAT(listedIds(), ElementsAre(id, 1));
    EXPECT_EQ(list.state().newChatFocusId, id);
    EXPECT_EQ(list.find(id)->state().conversation.title, "Added");

    // A chat added before a sync is not listed twice by it.
    list.trigger(chat_list_input::Sync{});
    EXPECT_THAT(listedIds(), ElementsAre(id, 1));
}

TEST_F(ChatListViewModelTest, RemovingDeletesTheChatAndItsMessagesAndKeepsTheOrder) {
    const int64_t a = newChat("A");
    const int64_t b = newChat("B");
    list.trigger(chat_list_input::Sync{});
    addMessage(a, "user", "question");
    addMessage(a, "assistant", "answer");
    ASSERT_THAT(listedIds(), ElementsAre(b, a, 1));

    list.trigger(chat_list_input::RemoveConversation{a});
    EXPECT_THAT(listedIds(), ElementsAre(b, 1));
    EXPECT_FALSE(service.getConversation(a));
    EXPECT_EQ(count("SELECT COUNT(*) FROM messages WHERE conversationId = " + std::to_string(a)),
              0);
    // Documents are never deleted with a chat.
    EXPECT_EQ(count("SELECT COUNT(*) FROM bookmarks WHERE id = 1"), 1);

    // An unknown id changes nothing.
    list.trigger(chat_list_input::RemoveConversation{999});
    EXPECT_THAT(listedIds(), ElementsAre(b, 1));
}

TEST_F(ChatListViewModelTest, AFailedDeleteLeavesTheListAndSaysWhy) {
    const int64_t a = newChat("A");
    list.trigger(chat_list_input::Sync{});
    db->execute(
        "CREATE TRIGGER keep BEFORE DELETE ON conversations BEGIN SELECT RAISE(ABORT, 'no'); END");
    list.trigger(chat_list_input::RemoveConversation{a});
    EXPECT_THAT(listedIds(), ElementsAre(a, 1));
    EXPECT_TRUE(service.getConversation(a));
    EXPECT_EQ(list.state().alert, "no");

    // The next input that goes through clears it.
    list.trigger(chat_list_input::Sync{});
    EXPECT_FALSE(list.state().alert);
}

TEST_F(ChatListViewModelTest, ForkingCopiesTheChatUpToAMessage) {
    const int64_t source = newChat("Source");
    const int64_t first = addMessage(source, "user", "one");
    const int64_t second = addMessage(source, "assistant", "two");
    addMessage(source, "user", "three");
    list.trigger(chat_list_input::Sync{});

    list.trigger(chat_list_input::ForkChat{source, second});
    const int64_t copy = list.state().newChatFocusId;
    ASSERT_GT(copy, source);
    EXPECT_THAT(listedIds(), UnorderedElementsAre(copy, source, 1));
    EXPECT_EQ(listedIds().front(), copy);
    EXPECT_EQ(list.find(copy)->state().conversation.title, "Source");
    std::vector<std::string> contents;
    for (const auto& m : service.getMessages(copy, 0)) contents.push_back(m.content);
    EXPECT_THAT(contents, ElementsAre("one", "two"));
    EXPECT_EQ(service.getMessages(source, 0).size(), 3u);

    // Up to the first message only; and a missing source makes nothing.
    list.trigger(chat_list_input::ForkChat{source, first});
    EXPECT_EQ(service.getMessages(list.state().newChatFocusId, 0).size(), 1u);
    const auto before = listedIds();
    list.trigger(chat_list_input::ForkChat{999, first});
    EXPECT_EQ(listedIds(), before);
}

TEST_F(ChatListViewModelTest, OpeningFilesAddsTheChatOnceAndSyncDoesNotRepeatIt) {
    FileOpener opener(service, list);
    const std::string url = pdfUrl("Report.pdf");

    // The list is still empty: the new chat is added all the same.
    const int64_t id = opener.openFiles({url});
    EXPECT_THAT(listedIds(), ElementsAre(id));
    EXPECT_EQ(list.state().newChatFocusId, id);
    const auto chat = service.getConversation(id).value();
    EXPECT_EQ(chat.title, "Report");
    EXPECT_EQ(chat.contextLimit, 0);

    list.trigger(chat_list_input::Sync{});
    EXPECT_THAT(listedIds(), ElementsAre(id));  // the demo chat's id is below it

    // The same file again, continuing the last chat: found, not added again.
    preferences.setContinueLastConversation(true);
    int notified = 0;
    auto subscription = list.subscribe([&] { ++notified; });
    EXPECT_EQ(opener.openFiles({url}), id);
    EXPECT_EQ(notified, 0);
    // With two files it is always a new chat.
    const int64_t pair = opener.openFiles({url, pdfUrl("Annex.pdf")});
    EXPECT_NE(pair, id);
    EXPECT_EQ(list.state().chats.front().id(), pair);
}

TEST_F(ChatListViewModelTest, TheOpenFileEntryTakesOnlyFileUrlsAndDropsOnlyPdfs) {
    FileOpener opener(service, list);
    EXPECT_FALSE(opener.openURLs({"https://example.org/paper.pdf"}));
    EXPECT_TRUE(list.state().chats.empty());
    const auto id = opener.openURLs({"https://example.org/a.pdf", pdfUrl("Local.pdf")});
    ASSERT_TRUE(id);
    EXPECT_EQ(service.getConversation(*id)->title, "Local");

    EXPECT_THAT(FileOpener::acceptedDrops({"/a/one.pdf", "/a/notes.txt", "/a/two.pdf", "/a/pdf"}),
                ElementsAre("/a/one.pdf", "/a/two.pdf"));
}

TEST_F(ChatListViewModelTest, AFileThatCannotBeReadMakesNoChat) {
    FileOpener opener(service, list);
    const auto before = count("SELECT COUNT(*) FROM conversations");
    EXPECT_THROW(opener.openFiles({fileUrlFromPath(dir / "missing.pdf")}), std::exception);
    EXPECT_EQ(count("SELECT COUNT(*) FROM conversations"), before);
    EXPECT_TRUE(list.state().chats.empty());
}

}  // namespace
}  // namespace folvane
