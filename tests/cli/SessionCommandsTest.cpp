#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/CliUser.h"
#include "support/ScriptedChatServer.h"
#include "support/TestImage.h"
#include "support/TestPdf.h"

namespace folvane {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

// The ask family end to end: the built CLI over a fresh data folder, a chat on
// a PDF made here, answered by a scripted server on the loopback as a custom model.
class SessionCommandsTest : public test::CliUser {
  protected:
    test::LoopbackServer server;
    std::string chatId;

    void SetUp() override {
        const std::string path = home / "paper.pdf";
        test::writeFile(path, test::makePdf({"Bitcoin is electronic cash between peers.",
                                             "Mining secures the chain with proof of work."}));
        chatId = openChat({path});
        answerFrom(chatId, server.baseURL());
    }
};

TEST_F(SessionCommandsTest, AskStreamsTheAnswerWithItsPagesAndCost) {
    test::serveChatScripts(
        server, {test::textScript({"Proof of ", "work secures it.", "\n.....REFS.....\n2"})});
    const auto asked = cli({"ask", chatId, "How is the chain secured?"});
    ASSERT_EQ(asked.exitCode, 0) << asked.err;
    EXPECT_THAT(asked.out, HasSubstr("Proof of work secures it.\n"));
    EXPECT_THAT(asked.out, Not(HasSubstr("REFS")));
    EXPECT_THAT(asked.out, HasSubstr("\nPage: 2\n"));
    EXPECT_THAT(asked.out, HasSubstr("Cost of the chat: $"));
    EXPECT_THAT(asked.err, HasSubstr("Assistant is thinking..."));
    EXPECT_THAT(asked.err, HasSubstr("Assistant is typing..."));
    EXPECT_THAT(asked.err, HasSubstr("Indexing the documents"));

    const auto messages = cli({"messages", chatId});
    EXPECT_THAT(messages.out, HasSubstr("How is the chain secured?"));
    EXPECT_THAT(messages.out, HasSubstr("Proof of work secures it."));

    const auto found = cli({"search", chatId, "secures"});
    ASSERT_EQ(found.exitCode, 0) << found.err;
    EXPECT_THAT(found.out, HasSubstr("Proof of work ==secures== it."));
    EXPECT_THAT(found.out, Not(HasSubstr("How is the chain")));

    ASSERT_EQ(cli({"delete-messages", chatId}).exitCode, 0);
    EXPECT_THAT(cli({"messages", chatId}).out, Not(HasSubstr("secured")));
}

TEST_F(SessionCommandsTest, ARejectedQuestionPrintsTheProvidersWordsAndFails) {
    test::ChatScript rejected;
    rejected.status = 401;
    rejected.events = {R"({"error":{"message":"Invalid key.","type":"auth","code":null}})"};
    test::serveChatScripts(server, {rejected});
    const auto asked = cli({"ask", chatId, "Anything?"});
    EXPECT_EQ(asked.exitCode, 1);
    EXPECT_THAT(asked.err, HasSubstr("Sorry, OpenAI has rejected your request. Here is the error "
                                     "message from OpenAI: Invalid key."));
    EXPECT_THAT(cli({"messages", chatId}).out, HasSubstr("Anything?"));
}

TEST_F(SessionCommandsTest, AStreamThatDoesNotEndWellFailsWithoutAFooter) {
    const auto script = [](std::string partial, std::string ending) {
        test::ChatScript chat;
        chat.events = {test::contentEvent(partial), ending};
        return chat;
    };
    test::ChatScript plain;
    plain.events = {
        R"({"id":"c","object":"chat.completion","choices":[{"index":0,"message":{"role":"assistant","content":"Whole"}}]})"};
    test::serveChatScripts(
        server,
        {script("Partial answer", "data: {\"error\":{\"message\":\"Quota exceeded.\"}}\n\n"),
         script("Half an answer", R"(data: {"choices":[{"delta":{"content":"and)"), plain});
    struct Case {
        const char* name;
        std::string words;
        std::string shown;  // printed as it came
        bool kept;          // stored in the chat
    };
    const std::vector<Case> cases = {
        // The server's error ends the answer: what came before is no answer.
        {"an error event",
         "Sorry, OpenAI has rejected your request. Here is the error message from OpenAI: Quota "
         "exceeded.",
         "Partial answer", false},
        // A connection cut short keeps the answer as far as it got.
        {"a body cut inside an event", "The answer was cut off", "Half an answer", true},
        {"a plain answer", "instead of a stream", "", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string question = std::string("Question on ") + c.name;
        const auto asked = cli({"ask", chatId, question});
        EXPECT_EQ(asked.exitCode, 1);
        EXPECT_THAT(asked.err, HasSubstr(c.words));
        EXPECT_THAT(asked.out, HasSubstr(c.shown));
        EXPECT_THAT(asked.out, Not(HasSubstr("Cost of the chat")));
        EXPECT_THAT(asked.out, Not(HasSubstr("Page:")));
        const auto messages = cli({"messages", chatId}).out;
        EXPECT_THAT(messages, HasSubstr(question));
        if (!c.shown.empty()) {
            EXPECT_EQ(messages.find(c.shown) != std::string::npos, c.kept) << messages;
        }
    }
}

TEST_F(SessionCommandsTest, AnEmptyQuestionIsAUsageErrorBeforeTheChatIsIndexed) {
    for (const char* question : {"", " ", " \t\n "}) {
        SCOPED_TRACE(::testing::PrintToString(question));
        const auto asked = cli({"ask", chatId, question});
        EXPECT_EQ(asked.exitCode, 2);
        EXPECT_THAT(asked.err, HasSubstr("The message cannot be empty."));
        EXPECT_THAT(asked.err, Not(HasSubstr("Indexing")));
    }
    EXPECT_EQ(cli({"messages", chatId}).out, "");
    EXPECT_TRUE(test::chatRequestBodies(server).empty());
}

TEST_F(SessionCommandsTest, RegenerateAndEditSendTheQuestionAgain) {
    test::serveChatScripts(server, {test::textScript({"First"}), test::textScript({"Second"}),
                                    test::textScript({"Third"})});
    ASSERT_EQ(cli({"ask", chatId, "What is bitcoin?"}).exitCode, 0);
    const auto again = cli({"regenerate", chatId});
    ASSERT_EQ(again.exitCode, 0) << again.err;
    EXPECT_THAT(again.out, HasSubstr("Second"));
    auto messages = cli({"messages", chatId}).out;
    EXPECT_THAT(messages, Not(HasSubstr("First")));

    const auto userId = messages.substr(1, messages.find(']') - 1);
    const auto edited = cli({"edit", chatId, userId, "What is mining?", "--resend"});
    ASSERT_EQ(edited.exitCode, 0) << edited.err;
    EXPECT_THAT(edited.out, HasSubstr("Third"));
    messages = cli({"messages", chatId}).out;
    EXPECT_THAT(messages, HasSubstr("What is mining?"));
    EXPECT_THAT(messages, Not(HasSubstr("Second")));

    EXPECT_EQ(cli({"reset-context", chatId}).exitCode, 0);
    EXPECT_THAT(cli({"messages", chatId}).out, HasSubstr("--- reset-context ---"));
    EXPECT_EQ(cli({"clear-markers", chatId}).exitCode, 0);
    EXPECT_THAT(cli({"messages", chatId}).out, Not(HasSubstr("reset-context")));

    const auto unknown = cli({"ask", "999", "Hello?"});
    EXPECT_NE(unknown.exitCode, 0);
    EXPECT_THAT(unknown.err, HasSubstr("No chat has the id 999."));
}

TEST_F(SessionCommandsTest, AskImageSendsAWebpAndAHeicPictureAsJpeg) {
    test::serveChatScripts(server, {test::textScript({"Two halves."})});
    ASSERT_TRUE(test::writeTestImage(home / "shot.webp", test::ImageFormat::webp, 40, 20));
    ASSERT_TRUE(test::writeTestImage(home / "shot.heic", test::ImageFormat::heic, 40, 20));
    for (const char* name : {"shot.webp", "shot.heic"}) {
        const auto asked = cli({"ask", chatId, "What is in it?", "--image", home / name});
        ASSERT_EQ(asked.exitCode, 0) << name << ": " << asked.err;
        EXPECT_THAT(asked.out, HasSubstr("Two halves.")) << name;
    }
    const auto bodies = test::chatRequestBodies(server);
    ASSERT_EQ(bodies.size(), 2u);
    for (const auto& body : bodies) {
        const auto& content = body["messages"].back()["content"];
        ASSERT_TRUE(content.is_array()) << body.dump();
        ASSERT_EQ(content.size(), 2u) << body.dump();
        EXPECT_THAT(content[1]["image_url"]["url"].get<std::string>(),
                    ::testing::StartsWith("data:image/jpeg;base64,"));
    }
}

TEST_F(SessionCommandsTest, AskImageRefusesAPictureThatCannotBeReadBeforeAnythingIsSent) {
    test::writeFile(home / "drawing.svg", "<svg xmlns='http://www.w3.org/2000/svg'/>");
    const auto asked = cli({"ask", chatId, "What is in it?", "--image", home / "drawing.svg"});
    EXPECT_EQ(asked.exitCode, 1);
    EXPECT_THAT(asked.err, HasSubstr("“drawing.svg” isn’t a picture that Folvane can read"));
    EXPECT_TRUE(test::chatRequestBodies(server).empty());
    EXPECT_THAT(cli({"messages", chatId}).out, ::testing::Not(HasSubstr("What is in it?")));
}

}  // namespace
}  // namespace folvane
