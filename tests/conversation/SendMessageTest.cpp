#include "conversation/ChatSessionFixture.h"
#include "conversation/MessageRequest.h"

namespace folvane {
namespace {

using namespace std::chrono_literals;
namespace in = chat_input;

const std::vector<std::string> pages = {
    "Bitcoin is a peer to peer electronic cash system without a trusted third party.",
    "Mining secures the chain: nodes spend work to find a block and earn a reward.",
    "Privacy is kept by keeping public keys anonymous.",
};

class SendMessageTest : public test::ChatSessionFixture {
  protected:
    std::vector<std::string> roles(const std::vector<Message>& messages) {
        std::vector<std::string> result;
        for (const auto& m : messages) result.push_back(m.role);
        return result;
    }
    std::vector<int> referencedPages(const Message& message) {
        std::vector<int> result;
        for (const auto& r : message.references.value_or(std::vector<Reference>{})) {
            result.push_back(r.page.value_or(-1));
        }
        return result;
    }
};

TEST_F(SendMessageTest, AQuestionIsAnsweredFromTheChunksAndStoredWithItsPages) {
    test::serveChatScripts(server, {test::textScript({"Nodes spend work ", "to find blocks.",
                                                      "\n.....REFS.....\n", "Page: 2, 9"})});
    const auto chat = makeChat(pages);
    auto viewModel = openLoaded(chat);
    ASSERT_EQ(viewModel->state().loadingState, LoadingState::loaded);
    preferences.setUserInstruction("Answer briefly.");
    preferences.setAppendUserInstructionToUserMessage(false);

    std::vector<AssistantState> states;
    bool referencesBeforeText = false;
    auto watch = viewModel->subscribe([&] {
        const auto& s = viewModel->state();
        if (states.empty() || states.back() != s.assistantState) states.push_back(s.assistantState);
        if (s.liveMessage && s.liveMessage->content.empty() && s.liveMessage->references &&
            s.liveMessage->references->size() == 3) {
            referencesBeforeText = true;
        }
    });
    viewModel->trigger(in::AddMessage{"How is the chain secured by mining?"});
    EXPECT_EQ(viewModel->state().assistantState, AssistantState::thinking);
    ASSERT_TRUE(viewModel->state().liveMessage);
    EXPECT_EQ(viewModel->state().liveMessage->id, Message::liveMessageId);
    finish(*viewModel);

    const auto& state = viewModel->state();
    EXPECT_EQ(state.assistantState, AssistantState::idle);
    EXPECT_FALSE(state.liveMessage);
    EXPECT_FALSE(state.lastError);
    EXPECT_EQ(state.lastFinishReason, "stop");
    EXPECT_TRUE(referencesBeforeText);
    EXPECT_EQ(states, (std::vector<AssistantState>{AssistantState::idle, AssistantState::thinking,
                                                   AssistantState::typing, AssistantState::idle}));

    const auto stored = storedMessages(chat.id);
    ASSERT_EQ(roles(stored), (std::vector<std::string>{"user", "assistant"}));
    EXPECT_EQ(stored[0].content, "How is the chain secured by mining?");  // as typed
    EXPECT_EQ(stored[0].contextMode, "all");
    EXPECT_EQ(stored[1].content, "Nodes spend work to find blocks.");
    EXPECT_EQ(referencedPages(stored[1]), std::vector<int>{2});
    EXPECT_EQ(state.messages.size(), 2u);
    EXPECT_EQ(state.messages[1], stored[1]);
    EXPECT_GT(state.conversation.cost, 0);
    EXPECT_DOUBLE_EQ(service.getConversation(chat.id)->cost, state.conversation.cost);

    const auto bodies = test::chatRequestBodies(server);
    ASSERT_EQ(bodies.size(), 1u);
    const auto& body = bodies[0];
    EXPECT_EQ(body["model"], "gpt-4");
    EXPECT_EQ(body["stream"], true);
    EXPECT_TRUE(body.contains("temperature"));
    for (const char* absent :
         {"functions", "function_call", "max_tokens", "presence_penalty", "frequency_penalty"}) {
        EXPECT_FALSE(body.contains(absent)) << absent;
    }
    const auto& sent = body["messages"];
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(sent[0]["role"], "system");
    const std::string system = sent[0]["content"];
    EXPECT_TRUE(
        system.starts_with("=====\nINSTRUCTION:\n=====\nYou have access to the content of "
                           "the following documents."));
    EXPECT_NE(system.find("Number of documents: 1\nDocument #1\n- Document ID: " +
                          std::to_string(chat.bookmarkId) + "\n- File Name: paper.pdf"),
              std::string::npos);
    EXPECT_NE(system.find("=====\nADDITIONAL INSTRUCTION:\n=====\nAnswer briefly.\n\n    =====\n"
                          "    CONTENT OF THE DOCUMENTS:"),
              std::string::npos);
    EXPECT_NE(system.find("- Page: 2\n- Content: Mining secures the chain"), std::string::npos);
    EXPECT_EQ(sent[1]["role"], "user");
    EXPECT_EQ(sent[1]["content"], "How is the chain secured by mining?");
}

TEST_F(SendMessageTest, QuotedTextAndAnAppendedInstructionSendOnlyTheOneMessage) {
    test::serveChatScripts(server, {test::textScript({"Quoted answer"})});
    const auto chat = makeChat(pages);
    auto viewModel = openLoaded(chat);
    for (const auto& text : {"Earlier question", "Earlier answer"}) {
        Message m;
        m.conversationId = chat.id;
        m.role = text[8] == 'q' ? "user" : "assistant";
        m.content = text;
        service.insertMessage(m);
    }
    viewModel->trigger(in::Sync{});
    preferences.setUserInstruction("Use French.");
    preferences.setAppendUserInstructionToUserMessage(true);

    viewModel->trigger(in::UseContentAsMessageContext{"A quoted sentence."});
    viewModel->trigger(in::AddMessage{"Explain this"});
    finish(*viewModel);
    EXPECT_EQ(viewModel->state().contextMode, ChatContextMode::all);
    EXPECT_EQ(viewModel->state().stringContext, "");

    const auto sent = test::chatRequestBodies(server).at(0)["messages"];
    ASSERT_EQ(sent.size(), 2u);
    const std::string system = sent[0]["content"];
    EXPECT_TRUE(
        system.starts_with("=====\nINSTRUCTION:\n=====\nYou have access to the content of "
                           "the following document or documents."));
    EXPECT_TRUE(
        system.ends_with("    =====\n    CONTENT OF THE DOCUMENTS:\n    =====\n    \n"
                         "    A quoted sentence."));
    EXPECT_EQ(system.find("ADDITIONAL INSTRUCTION"), std::string::npos);
    EXPECT_EQ(sent[1]["content"], "Explain this\n\nUse French.");
    const auto stored = storedMessages(chat.id);
    EXPECT_EQ(stored[2].content, "Explain this");
    EXPECT_EQ(stored[2].contextMode, "quotedContent");
    EXPECT_EQ(stored[2].stringContext, "A quoted sentence.");
    EXPECT_EQ(stored[3].content, "Quoted answer");
    EXPECT_EQ(stored[3].references, std::vector<Reference>{});  // no chunks: no answer check
}

TEST_F(SendMessageTest, AChatWithoutIndexedContentFailsWithoutCallingTheModel) {
    test::serveChatScripts(server, {test::textScript({"never"})});
    const auto chat = makeChat({""});  // a page without text: no chunk at all
    auto viewModel = openLoaded(chat);
    viewModel->trigger(in::AddMessage{"Anything?"});
    finish(*viewModel);
    EXPECT_EQ(viewModel->state().assistantState, AssistantState::failed);
    EXPECT_EQ(viewModel->state().lastError,
              "No relevant content found. Make sure all your documents have been indexed and try "
              "again.");
    EXPECT_FALSE(viewModel->state().liveMessage);
    EXPECT_EQ(roles(storedMessages(chat.id)), std::vector<std::string>{"user"});
    EXPECT_TRUE(test::chatRequestBodies(server).empty());
}

TEST_F(SendMessageTest, ARejectedRequestShowsTheProvidersWordsAndKeepsTheQuestion) {
    test::ChatScript rejected;
    rejected.status = 401;
    rejected.events = {R"({"error":{"message":"Incorrect API key provided: sk-test.",)"
                       R"("type":"invalid_request_error","code":"invalid_api_key"}})"};
    test::serveChatScripts(server, {rejected});
    const auto chat = makeChat(pages);
    auto viewModel = openLoaded(chat);
    viewModel->trigger(in::AddMessage{"What is mining?"});
    finish(*viewModel);
    EXPECT_EQ(viewModel->state().assistantState, AssistantState::failed);
    EXPECT_EQ(viewModel->state().lastError,
              "Sorry, OpenAI has rejected your request. Here is the error message from OpenAI: "
              "Incorrect API key provided: sk-test.");
    EXPECT_EQ(roles(storedMessages(chat.id)), std::vector<std::string>{"user"});

    // The next accepted send clears the error.
    test::serveChatScripts(server, {test::textScript({"Fine now"})});
    viewModel->trigger(in::AddMessage{"Again?"});
    EXPECT_FALSE(viewModel->state().lastError);
    finish(*viewModel);
    EXPECT_EQ(viewModel->state().assistantState, AssistantState::idle);
}

TEST_F(SendMessageTest, APageReadByAFunctionCallAnswersInASecondPassAndIsNotStored) {
    const auto chat = makeChat(pages);
    const std::string arguments =
        R"({"documentId":")" + std::to_string(chat.bookmarkId) + R"(","page":2})";
    test::ChatScript call;
    call.events.push_back(test::functionCallEvent("get_page_content", ""));
    for (size_t at = 0; at < arguments.size(); at += 3) {
        call.events.push_back(test::functionCallEvent(std::nullopt, arguments.substr(at, 3)));
    }
    call.events.push_back(test::finishEvent("function_call"));
    call.events.push_back(test::doneEvent());
    test::serveChatScripts(server, {call, test::textScript({"Page two is about mining."})});

    auto viewModel = openLoaded(chat);
    std::vector<AssistantState> states;
    auto watch = viewModel->subscribe([&] {
        const auto s = viewModel->state().assistantState;
        if (states.empty() || states.back() != s) states.push_back(s);
    });
    viewModel->trigger(in::AddMessage{"What does page two say?"});
    finish(*viewModel);

    EXPECT_EQ(states, (std::vector<AssistantState>{AssistantState::idle, AssistantState::thinking,
                                                   AssistantState::reading, AssistantState::typing,
                                                   AssistantState::idle}));
    const auto bodies = test::chatRequestBodies(server);
    ASSERT_EQ(bodies.size(), 2u);
    const auto& second = bodies[1]["messages"];
    ASSERT_GE(second.size(), 4u);
    const auto& callMessage = second[second.size() - 2];
    const auto& result = second[second.size() - 1];
    EXPECT_EQ(second[second.size() - 3]["role"], "user");
    EXPECT_EQ(callMessage["role"], "assistant");
    EXPECT_EQ(callMessage["function_call"]["name"], "get_page_content");
    EXPECT_EQ(callMessage["function_call"]["arguments"], arguments);
    EXPECT_EQ(result["role"], "function");
    EXPECT_EQ(result["name"], "get_page_content");
    EXPECT_EQ(result["content"], pages[1]);
    EXPECT_FALSE(bodies[1].contains("functions"));

    const auto stored = storedMessages(chat.id);
    ASSERT_EQ(roles(stored), (std::vector<std::string>{"user", "assistant"}));
    EXPECT_EQ(stored[1].content, "Page two is about mining.");
    ASSERT_EQ(stored[1].references.value().size(), 1u);
    const auto& reference = stored[1].references->front();
    EXPECT_EQ(reference.page, 2);
    EXPECT_EQ(reference.bookmarkId, chat.bookmarkId);
    EXPECT_EQ(reference.score, 1.0f);
    EXPECT_EQ(viewModel->state().lastFinishReason, "stop");
}

TEST_F(SendMessageTest, CancellingKeepsThePartialReplyAndBeforeTheFirstTokenNothing) {
    const auto chat = makeChat(pages);
    auto viewModel = openLoaded(chat);

    auto script = test::textScript({"Half of ", "an answer", " never sent"});
    script.holdAfter = 3;  // the role event and two pieces
    test::serveChatScripts(server, {script});
    viewModel->trigger(in::AddMessage{"Tell me everything"});
    ASSERT_TRUE(queue.runUntil(
        [&] {
            const auto& live = viewModel->state().liveMessage;
            return live && live->content == "Half of an answer";
        },
        30s));
    viewModel->trigger(in::CancelRequest{});
    finish(*viewModel);
    EXPECT_EQ(viewModel->state().assistantState, AssistantState::idle);
    EXPECT_FALSE(viewModel->state().lastError);
    auto stored = storedMessages(chat.id);
    ASSERT_EQ(roles(stored), (std::vector<std::string>{"user", "assistant"}));
    EXPECT_EQ(stored[1].content, "Half of an answer");
    EXPECT_TRUE(stored[1].references);  // worked out as usual
    server.release();
}

TEST_F(SendMessageTest, CancellingBeforeTheFirstTokenStoresNoReply) {
    const auto chat = makeChat(pages);
    auto viewModel = openLoaded(chat);
    auto script = test::textScript({"late"});
    script.holdAfter = 0;
    test::serveChatScripts(server, {script});
    viewModel->trigger(in::AddMessage{"Quick question"});
    ASSERT_TRUE(waitFor([&] { return !test::chatRequestBodies(server).empty(); }));
    viewModel->trigger(in::CancelRequest{});
    finish(*viewModel);
    server.release();
    EXPECT_EQ(viewModel->state().assistantState, AssistantState::idle);
    EXPECT_FALSE(viewModel->state().liveMessage);
    EXPECT_EQ(roles(storedMessages(chat.id)), std::vector<std::string>{"user"});
}

TEST_F(SendMessageTest, AReplacedRequestNeverWritesIntoTheNewerOne) {
    const auto chat = makeChat(pages);
    auto viewModel = openLoaded(chat);
    auto slow = test::textScript({"Old reply ", "arrives late"});
    slow.holdAfter = 2;
    test::serveChatScripts(server, {slow, test::textScript({"New reply"})});

    viewModel->trigger(in::AddMessage{"First question"});
    ASSERT_TRUE(queue.runUntil(
        [&] {
            const auto& live = viewModel->state().liveMessage;
            return live && live->content == "Old reply";
        },
        30s));
    viewModel->trigger(in::AddMessage{"Second question"});
    // The old stream goes on while the new request runs.
    server.release();
    finish(*viewModel);

    const auto& state = viewModel->state();
    EXPECT_EQ(state.assistantState, AssistantState::idle);
    EXPECT_FALSE(state.liveMessage);
    const auto stored = storedMessages(chat.id);
    ASSERT_EQ(roles(stored), (std::vector<std::string>{"user", "user", "assistant"}));
    EXPECT_EQ(stored[2].content, "New reply");
    ASSERT_EQ(state.messages.size(), 3u);
    EXPECT_EQ(state.messages[2].content, "New reply");
}

TEST_F(SendMessageTest, AnIndexedChatOpensWithoutEmbeddingAnything) {
    test::serveChatScripts(server, {test::textScript({"Answer"})});
    const auto chat = makeChat(pages);
    openLoaded(chat);
    EXPECT_GT(embedder->calls, 0);
    EXPECT_EQ(service.documentStore().bookmark(chat.bookmarkId)->indexingStatus, "indexed");

    embedder->calls = 0;
    auto reopened = openLoaded(*service.getConversation(chat.id));
    EXPECT_EQ(reopened->state().loadingState, LoadingState::loaded);
    EXPECT_EQ(embedder->calls, 0);
    reopened->trigger(in::AddMessage{"What is mining?"});
    finish(*reopened);
    EXPECT_EQ(storedMessages(chat.id).back().content, "Answer");
}

TEST_F(SendMessageTest, RegenerateEditAndContinueSendTheStoredQuestionAgain) {
    test::serveChatScripts(
        server, {test::textScript({"One"}), test::textScript({"Two"}), test::textScript({"Three"}),
                 test::textScript({"Four"}), test::textScript({"Five"})});
    const auto chat = makeChat(pages);
    auto viewModel = openLoaded(chat);
    viewModel->trigger(in::AddMessage{"What is mining?"});
    finish(*viewModel);
    viewModel->trigger(in::ContinueGenerating{});
    finish(*viewModel);
    ASSERT_EQ(roles(storedMessages(chat.id)),
              (std::vector<std::string>{"user", "assistant", "assistant"}));
    // Continuing answers the last stored reply, retrieved on an empty query.
    EXPECT_EQ(test::chatRequestBodies(server)[1]["messages"].back()["content"], "One");

    viewModel->trigger(in::Regenerate{});  // deletes both replies, asks again
    finish(*viewModel);
    auto stored = storedMessages(chat.id);
    ASSERT_EQ(roles(stored), (std::vector<std::string>{"user", "assistant"}));
    EXPECT_EQ(stored[1].content, "Three");
    EXPECT_EQ(test::chatRequestBodies(server)[2]["messages"].back()["content"], "What is mining?");

    viewModel->trigger(in::UpdateMessageContent{stored[0].id, "What is privacy?", true});
    finish(*viewModel);
    stored = storedMessages(chat.id);
    ASSERT_EQ(roles(stored), (std::vector<std::string>{"user", "assistant"}));
    EXPECT_EQ(stored[0].content, "What is privacy?");
    EXPECT_EQ(stored[1].content, "Four");
    EXPECT_EQ(test::chatRequestBodies(server)[3]["messages"].back()["content"], "What is privacy?");
    EXPECT_EQ(viewModel->state().messages.size(), 2u);

    const double before = viewModel->state().conversation.cost;
    viewModel->trigger(in::Regenerate{});
    finish(*viewModel);
    EXPECT_GT(viewModel->state().conversation.cost, before);
}

TEST_F(SendMessageTest, WithoutPageNumbersTheAnswerIsComparedWithTheChunks) {
    test::serveChatScripts(
        server,
        {test::textScript({"Mining secures the chain: nodes spend work to find a block."})});
    const auto chat = makeChat(pages, "llama3");  // the plain template asks for no pages
    auto viewModel = openLoaded(chat);
    viewModel->trigger(in::AddMessage{"How is the chain secured?"});
    finish(*viewModel);
    const auto reply = storedMessages(chat.id).back();
    ASSERT_TRUE(reply.references);
    ASSERT_FALSE(reply.references->empty());
    EXPECT_EQ(reply.references->front().page, 2);
    EXPECT_TRUE(reply.references->front().score);
    const std::string system = test::chatRequestBodies(server)[0]["messages"][0]["content"];
    EXPECT_EQ(system.find(".....REFS....."), std::string::npos);
}

TEST(MessageRequestTest, PageLinesGiveThePagesTheModelNamed) {
    struct Case {
        std::string pageLine;
        std::vector<std::string> pages;
    };
    const std::vector<Case> cases = {
        {"1,4", {"1", "4"}},  {"Page: 1, 4", {"1", "4"}}, {"p.3", {"3"}}, {"none", {""}}, {"", {}},
        {"2,,5", {"2", "5"}}, {" Page: 7", {"7"}},  // not at the start: the word stays, the digits
                                                    // count
    };
    for (const auto& c : cases) {
        EXPECT_EQ(MessageRequest::pagesFromPageLine(c.pageLine), c.pages) << c.pageLine;
    }
    const std::vector<Reference> references = {{"a", 1, 1, std::nullopt},
                                               {"b", 1, 2, std::nullopt},
                                               {"c", 1, 4, std::nullopt},
                                               {"d", 1, std::nullopt, std::nullopt}};
    const auto kept = MessageRequest::referencesOnPages(references, {"1", "4", "9"});
    ASSERT_EQ(kept.size(), 2u);
    EXPECT_EQ(kept[0].id, "a");
    EXPECT_EQ(kept[1].id, "c");
    EXPECT_TRUE(MessageRequest::referencesOnPages(references, {""}).empty());
}

}  // namespace
}  // namespace folvane
