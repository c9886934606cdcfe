#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/CliUser.h"
#include "support/ScriptedChatServer.h"
#include "support/TestImage.h"
#include "support/TestPdf.h"

namespace folvane {
namespace {

using ::testing::HasSubstr;

// `ask --image` end to end: the built CLI, a chat on a PDF made here, a
// scripted server on the loopback as the chat's custom model.
class AskImageTest : public test::CliUser {
  protected:
    test::LoopbackServer server;
    std::string chatId;

    void SetUp() override {
        const std::string path = home / "paper.pdf";
        test::writeFile(path, test::makePdf({"A chart of the hash rate."}));
        chatId = openChat(path);
        answerFrom(chatId, server.baseURL());
    }
};

TEST_F(AskImageTest, AWebpAndAHeicPictureGoOutAsJpeg) {
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

TEST_F(AskImageTest, APictureThatCannotBeReadIsRefusedBeforeAnythingIsSent) {
    test::writeFile(home / "drawing.svg", "<svg xmlns='http://www.w3.org/2000/svg'/>");
    const auto asked = cli({"ask", chatId, "What is in it?", "--image", home / "drawing.svg"});
    EXPECT_EQ(asked.exitCode, 1);
    EXPECT_THAT(asked.err, HasSubstr("“drawing.svg” isn’t a picture that Folvane can read"));
    EXPECT_TRUE(test::chatRequestBodies(server).empty());
    EXPECT_THAT(cli({"messages", chatId}).out, ::testing::Not(HasSubstr("What is in it?")));
}

}  // namespace
}  // namespace folvane
