#include "conversation/ChatSessionFixture.h"
#include "platform/FileUrl.h"
#include "support/TestImage.h"

namespace folvane {
namespace {

using namespace std::chrono_literals;
namespace in = chat_input;

class ChatDetailViewModelTest : public test::ChatSessionFixture {
  protected:
    Message insert(const Conversation& chat, const std::string& role, const std::string& content) {
        Message m;
        m.conversationId = chat.id;
        m.role = role;
        m.content = content;
        return *service.getMessage(service.insertMessage(m));
    }
};

TEST_F(ChatDetailViewModelTest, CreationReadsNoMessageAndSyncAddsOnlyNewRows) {
    const auto chat = makeChat({"Page one"});
    insert(chat, "user", "first");
    auto viewModel = open(chat);
    EXPECT_TRUE(viewModel->state().messages.empty());
    EXPECT_FALSE(viewModel->state().loaded);
    EXPECT_EQ(viewModel->state().id(), chat.id);
    ASSERT_EQ(viewModel->state().allDocuments.size(), 1u);
    ASSERT_TRUE(viewModel->state().customModel);
    EXPECT_EQ(viewModel->state().customModel->modelId, "gpt-4");

    viewModel->trigger(in::Sync{});
    EXPECT_TRUE(viewModel->state().loaded);
    ASSERT_EQ(viewModel->state().messages.size(), 1u);
    viewModel->trigger(in::Sync{});
    EXPECT_EQ(viewModel->state().messages.size(), 1u);
    insert(chat, "assistant", "second");
    viewModel->trigger(in::Sync{});
    ASSERT_EQ(viewModel->state().messages.size(), 2u);
    EXPECT_EQ(viewModel->state().messages[1].content, "second");
}

TEST_F(ChatDetailViewModelTest, ARetiredModelIsRewrittenOnceAtSync) {
    for (const std::string retired : {"gpt-3.5-turbo-16k", "gpt-3.5-turbo-16k-0613"}) {
        auto chat = makeChat({"Page"}, retired);
        auto viewModel = open(chat);
        viewModel->trigger(in::Sync{});
        EXPECT_EQ(viewModel->state().conversation.model, "gpt-3.5-turbo");
        EXPECT_EQ(service.getConversation(chat.id)->model, "gpt-3.5-turbo");
    }
    auto kept = makeChat({"Page"}, "gpt-4");
    auto viewModel = open(kept);
    viewModel->trigger(in::Sync{});
    EXPECT_EQ(viewModel->state().conversation.model, "gpt-4");
}

TEST_F(ChatDetailViewModelTest, ContextInputsChooseTheModeOfTheNextMessage) {
    auto viewModel = open(makeChat({"Page"}));
    const std::string a = fileUrlFromPath(dir / "a.png"), b = fileUrlFromPath(dir / "b.png");
    test::writeTestImage(dir / "a.png", test::ImageFormat::png, 4, 4);
    test::writeTestImage(dir / "b.png", test::ImageFormat::png, 4, 4);
    viewModel->trigger(in::AddImages{{a, b}});
    EXPECT_EQ(viewModel->state().contextMode, ChatContextMode::images);
    viewModel->trigger(in::RemoveImages{{a}});
    EXPECT_EQ(viewModel->state().contextMode, ChatContextMode::images);
    EXPECT_EQ(viewModel->state().imageURLs, std::vector<std::string>{b});
    viewModel->trigger(in::RemoveImages{{b}});
    EXPECT_EQ(viewModel->state().contextMode, ChatContextMode::all);

    viewModel->trigger(in::UseContentAsMessageContext{"old quote"});
    viewModel->trigger(in::UseContentAsMessageContext{"new quote"});
    EXPECT_EQ(viewModel->state().contextMode, ChatContextMode::quotedContent);
    EXPECT_EQ(viewModel->state().stringContext, "new quote");
    viewModel->trigger(in::ResetMessageContext{});
    EXPECT_EQ(viewModel->state().contextMode, ChatContextMode::all);
    EXPECT_EQ(viewModel->state().stringContext, "");
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(ChatDetailViewModelTest, UpdatesWriteTheStoreBothCopiesAndTheDefaults) {
    const auto chat = makeChat({"Page"});
    auto viewModel = open(chat);
    preferences.setDefaultModel("gpt-3.5-turbo");
    viewModel->trigger(in::UpdateModel{"gpt-4-turbo"});  // a custom model is in use
    viewModel->trigger(in::UpdateTitle{"Renamed"});
    viewModel->trigger(in::UpdateTemperature{0.3});
    viewModel->trigger(in::UpdateContextLimit{12});
    const auto stored = *service.getConversation(chat.id);
    EXPECT_EQ(stored.model, "gpt-4-turbo");
    EXPECT_EQ(stored.title, "Renamed");
    EXPECT_DOUBLE_EQ(stored.temperature, 0.3);
    EXPECT_EQ(stored.contextLimit, 12);
    EXPECT_EQ(viewModel->state().conversation.title, "Renamed");
    EXPECT_EQ(preferences.defaultModel(), "gpt-3.5-turbo");
    EXPECT_DOUBLE_EQ(preferences.defaultTemperature(), 0.3);
    EXPECT_EQ(preferences.defaultContextLimit(), 12);

    const auto before = viewModel->state().customModel;
    viewModel->trigger(in::UpdateCustomModel{4242});  // no such row
    EXPECT_EQ(viewModel->state().customModel, before);
    viewModel->trigger(in::UpdateCustomModel{0});
    viewModel->trigger(in::UpdateModel{"gpt-4o-mini"});
    EXPECT_EQ(preferences.defaultModel(), "gpt-4o-mini");
}

TEST_F(ChatDetailViewModelTest, MessageOperationsKeepStoreAndStateTogether) {
    const auto chat = makeChat({"Page"});
    const auto question = insert(chat, "user", "Question");
    insert(chat, "assistant", "First answer");
    insert(chat, "user", "Later question");
    auto viewModel = open(chat);
    viewModel->trigger(in::Sync{});

    viewModel->trigger(in::CopyLastResponse{});
    EXPECT_EQ(clipboard.copied, std::vector<std::string>{"First answer"});

    viewModel->trigger(in::UpdateMessageContent{question.id, "Edited", false});
    EXPECT_EQ(viewModel->state().messages[0].content, "Edited");
    EXPECT_EQ(service.getMessage(question.id)->content, "Edited");
    EXPECT_EQ(storedMessages(chat.id).size(), 3u);  // no resend: nothing deleted

    viewModel->trigger(in::ResetContext{});
    viewModel->trigger(in::ResetContext{});  // at most one marker
    auto markers = [&](const std::vector<Message>& messages) {
        return std::count_if(messages.begin(), messages.end(), [](const Message& m) {
            return m.role == "application" && m.name == "reset-context";
        });
    };
    EXPECT_EQ(markers(viewModel->state().messages), 1);
    EXPECT_EQ(markers(storedMessages(chat.id)), 1);
    EXPECT_GT(service.getConversation(chat.id)->contextSince, distantPast());
    EXPECT_EQ(viewModel->state().conversation.contextSince,
              service.getConversation(chat.id)->contextSince);

    viewModel->trigger(in::ClearContextMarkers{});
    EXPECT_EQ(markers(viewModel->state().messages), 0);
    EXPECT_EQ(markers(storedMessages(chat.id)), 0);
    EXPECT_EQ(viewModel->state().conversation.contextSince, distantPast());

    viewModel->trigger(in::DeleteMessage{question.id});
    EXPECT_EQ(viewModel->state().messages.size(), 2u);
    EXPECT_EQ(viewModel->state().conversation.messageCount, 2);

    viewModel->trigger(in::DeleteAllMessages{});
    EXPECT_TRUE(viewModel->state().messages.empty());
    EXPECT_EQ(viewModel->state().conversation.messageCount, 0);
    EXPECT_TRUE(storedMessages(chat.id).empty());
    clipboard.copied.clear();
    viewModel->trigger(in::CopyLastResponse{});
    EXPECT_TRUE(clipboard.copied.empty());
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(ChatDetailViewModelTest, ASearchInTheChatRunsOnceAfterTheTypingStops) {
    const auto chat = makeChat({"Page"});
    insert(chat, "user", "Tell me about Mining");
    insert(chat, "assistant", "mining secures the chain");
    insert(chat, "user", "Unrelated");
    auto viewModel = open(chat);
    viewModel->trigger(in::Sync{});

    int searches = 0;
    auto watch = viewModel->subscribe([&] {
        if (!viewModel->state().searchKeyword.empty() && viewModel->state().isSearching &&
            viewModel->state().searchResults.empty()) {
            ++searches;
        }
    });
    const auto started = std::chrono::steady_clock::now();
    for (const std::string typed : {"M", "Mi", "Min", "Mining"}) {
        viewModel->trigger(in::Find{typed, SearchScope::chat});
        EXPECT_TRUE(viewModel->state().isSearching);
    }
    ASSERT_TRUE(queue.runUntil(
        [&] {
            return viewModel->state().searchKeyword == "Mining" && !viewModel->state().isSearching;
        },
        10s));
    EXPECT_GE(std::chrono::steady_clock::now() - started, 450ms);
    watch.cancel();
    EXPECT_EQ(searches, 1);
    const auto& results = viewModel->state().searchResults;
    ASSERT_EQ(results.size(), 2u);
    EXPECT_EQ(results[0].content, "Tell me about **Mining**");
    EXPECT_EQ(results[1].content, "mining secures the chain");  // found, case differs: no mark
    EXPECT_EQ(viewModel->state().messages[0].content, "Tell me about Mining");

    viewModel->trigger(in::Find{"", SearchScope::chat});
    EXPECT_FALSE(viewModel->state().isSearching);
    ASSERT_TRUE(queue.runUntil([&] { return viewModel->state().searchResults.empty(); }, 10s));
    EXPECT_EQ(viewModel->state().searchKeyword, "");
}

TEST_F(ChatDetailViewModelTest, ViewerInputsGoOutOnThePageNavigator) {
    auto viewModel = open(makeChat({"Page"}));
    auto navigator = viewModel->state().pageNavigator;
    std::vector<std::string> heard;
    std::vector<Subscription> subscriptions;
    subscriptions.push_back(
        navigator->goToPage.subscribe([&](int page, const std::optional<std::string>& text) {
            heard.push_back("page " + std::to_string(page) + (text ? " text" : ""));
        }));
    subscriptions.push_back(navigator->goToNextPage.subscribe([&] { heard.push_back("next"); }));
    subscriptions.push_back(navigator->goBack.subscribe([&] { heard.push_back("back"); }));
    subscriptions.push_back(
        navigator->findPrevious.subscribe([&] { heard.push_back("previous"); }));
    subscriptions.push_back(navigator->find.subscribe(
        [&](const std::string& word) { heard.push_back("find " + word); }));
    std::optional<Reference> followed;
    navigator->setGoToReference([&](const Reference& reference) { followed = reference; });

    viewModel->trigger(in::GoToPage{4});
    viewModel->trigger(in::GoToNextPage{});
    viewModel->trigger(in::GoBack{});
    viewModel->trigger(in::FindPrevious{});
    viewModel->trigger(in::GoToReference{Reference{"chunk", 1, 2, std::nullopt}});
    viewModel->trigger(in::Find{"block", SearchScope::pdf});
    EXPECT_FALSE(viewModel->state().isSearching);
    ASSERT_TRUE(queue.runUntil([&] { return heard.size() == 5; }, 10s));
    EXPECT_EQ(heard,
              (std::vector<std::string>{"page 4", "next", "back", "previous", "find block"}));
    ASSERT_TRUE(followed);
    EXPECT_EQ(followed->page, 2);

    viewModel->trigger(in::ShowGoToForm{});
    EXPECT_TRUE(viewModel->state().shouldShowGoToPageForm);
    viewModel->trigger(in::HideGoToForm{});
    EXPECT_FALSE(viewModel->state().shouldShowGoToPageForm);
}

}  // namespace
}  // namespace folvane
