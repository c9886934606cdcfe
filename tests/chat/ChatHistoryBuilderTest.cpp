#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stb/stb_image.h>
#include <stb/stb_image_write.h>

#include "chat/AppChatServiceError.h"
#include "chat/ChatHistoryBuilder.h"
#include "platform/FileUrl.h"
#include "providers/GPTEncoder.h"
#include "support/TempDir.h"

namespace folvane {
namespace {

Message message(const std::string& role, const std::string& content) {
    Message m;
    m.role = role;
    m.content = content;
    return m;
}

std::vector<std::string> texts(const std::vector<Chat>& chats) {
    std::vector<std::string> result;
    for (const auto& chat : chats) result.push_back(chat.textContent().value_or("<list>"));
    return result;
}

std::vector<unsigned char> fromBase64(const std::string& text) {
    std::vector<unsigned char> bytes;
    unsigned value = 0;
    int bits = 0;
    for (char c : text) {
        const auto at =
            std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/")
                .find(c);
        if (at == std::string_view::npos) break;
        value = value << 6 | unsigned(at);
        if ((bits += 6) >= 8) bytes.push_back((value >> (bits -= 8)) & 0xFF);
    }
    return bytes;
}

class ChatHistoryBuilderTest : public ::testing::Test {
  protected:
    static inline std::unique_ptr<GPTEncoder> encoder;
    static void SetUpTestSuite() { encoder = std::make_unique<GPTEncoder>(test::resourceDir()); }

    ChatHistoryBuilder builder{*encoder};
    Conversation conversation;
    test::TempDir dir;

    size_t tokens(const std::string& text) { return encoder->count(text); }

    std::string picture(const std::string& name, int width, int height) {
        std::vector<unsigned char> pixels(size_t(width) * height * 3, 200);
        const std::string path = dir / name;
        stbi_write_png(path.c_str(), width, height, 3, pixels.data(), width * 3);
        return fileUrlFromPath(path);
    }
};

TEST_F(ChatHistoryBuilderTest, TheInstructionAndTheLastMessageMustFitAndAnExactFitPasses) {
    EXPECT_THROW(builder.buildChats("sys", {}, conversation, 100), AppChatServiceError);

    const std::vector<Message> messages{message("user", "old question"),
                                        message("assistant", "old answer"),
                                        message("user", "What is proof of work?")};
    const int essential = int(tokens("Answer briefly.What is proof of work?"));
    const auto exact = builder.buildChats("Answer briefly.", messages, conversation, essential);
    EXPECT_EQ(texts(exact),
              (std::vector<std::string>{"Answer briefly.", "What is proof of work?"}));
    EXPECT_EQ(exact.front().role, ChatRole::system);
    EXPECT_THAT(
        [&] { builder.buildChats("Answer briefly.", messages, conversation, essential - 1); },
        ::testing::Throws<AppChatServiceError>(::testing::Property(
            &AppChatServiceError::errorCase, AppChatServiceError::Case::messageTooLong)));
}

TEST_F(ChatHistoryBuilderTest, TheCountLimitAndThenTheTokenFitDropTheOldestFirst) {
    std::vector<Message> messages;
    for (int i = 0; i < 10; ++i) messages.push_back(message("user", "m" + std::to_string(i)));
    messages.push_back(message("user", "now"));

    conversation.contextLimit = 3;
    EXPECT_EQ(texts(builder.buildChats("s", messages, conversation, 10000)),
              (std::vector<std::string>{"s", "m7", "m8", "m9", "now"}));

    conversation.contextLimit = 0;
    const int room = int(tokens("sm8m9now"));
    EXPECT_EQ(texts(builder.buildChats("s", messages, conversation, room)),
              (std::vector<std::string>{"s", "m8", "m9", "now"}));

    conversation.contextLimit = 1;
    EXPECT_EQ(texts(builder.buildChats("s", {message("user", "only")}, conversation, 100)),
              (std::vector<std::string>{"s", "only"}));
}

TEST_F(ChatHistoryBuilderTest, TheLanguageInstructionFollowsTheSystemText) {
    conversation.languageCode = "pt-br";
    auto chats = builder.buildChats("Use the context", {message("user", "q")}, conversation, 100);
    EXPECT_EQ(chats.front().textContent(), "Use the context. Always answer in Portuguese (Brazil)");
    conversation.languageCode = "xx";
    chats = builder.buildChats("Use the context", {message("user", "q")}, conversation, 100);
    EXPECT_EQ(chats.front().textContent(), "Use the context");
}

TEST_F(ChatHistoryBuilderTest, PicturesStayInImageTurnsOnlyAndAreScaledToJpeg) {
    Message withPicture = message("user", "look at this");
    withPicture.imageURLs = {picture("wide.png", 200, 100), fileUrlFromPath(dir / "gone.png"),
                             "https://example.com/remote.png"};

    // A plain question now leaves the old picture message out, text and all.
    auto chats = builder.buildChats(
        "s", {withPicture, message("assistant", "a chart"), message("user", "and now?")},
        conversation, 10000);
    EXPECT_EQ(texts(chats), (std::vector<std::string>{"s", "a chart", "and now?"}));

    // An image turn keeps it; the file that has gone is left out without a word.
    chats = builder.buildChats("s", {withPicture}, conversation, 10000);
    ASSERT_EQ(chats.size(), 2u);
    const auto& items = std::get<std::vector<ChatContentItem>>(*chats[1].content);
    ASSERT_EQ(items.size(), 3u);
    EXPECT_EQ(items[0].text, "look at this");
    EXPECT_EQ(items[2].imageUrl->url, "https://example.com/remote.png");
    const std::string prefix = "data:image/jpeg;base64,";
    const std::string& data = items[1].imageUrl->url;
    ASSERT_EQ(data.substr(0, prefix.size()), prefix);
    const auto jpeg = fromBase64(data.substr(prefix.size()));
    int width = 0, height = 0, channels = 0;
    ASSERT_TRUE(stbi_info_from_memory(jpeg.data(), int(jpeg.size()), &width, &height, &channels));
    EXPECT_EQ(width, 768);
    EXPECT_EQ(height, 384);

    Message unreadable = message("user", "and this?");
    unreadable.imageURLs = {fileUrlFromPath(dir / "missing.png")};
    chats = builder.buildChats("s", {unreadable}, conversation, 10000);
    EXPECT_EQ(std::get<std::vector<ChatContentItem>>(*chats[1].content).size(), 1u);
}

TEST_F(ChatHistoryBuilderTest, RolesMarkersAndFunctionCallsOnTheWire) {
    Message call = message("assistant", "ignored");
    call.functionName = "get_page_content";
    call.functionArguments = R"({"page":3})";
    Chat chat = ChatHistoryBuilder::toChat(call);
    ASSERT_TRUE(chat.functionCall);
    EXPECT_EQ(chat.functionCall->name, "get_page_content");
    EXPECT_EQ(chat.textContent(), "");

    call.functionArguments.reset();
    chat = ChatHistoryBuilder::toChat(call);
    EXPECT_FALSE(chat.functionCall);
    EXPECT_EQ(chat.textContent(), "ignored");

    Message marker = message("application", "");
    marker.name = "reset-context";
    EXPECT_EQ(ChatHistoryBuilder::toChat(marker).role, ChatRole::user);
    Message result = message("function", "page text");
    result.name = "get_page_content";
    EXPECT_EQ(ChatHistoryBuilder::toChat(result).role, ChatRole::function);

    Message fullCall = message("assistant", "");
    fullCall.functionName = "f";
    fullCall.functionArguments = "{}";
    EXPECT_EQ(builder.tokenLength(
                  {ChatHistoryBuilder::toChat(fullCall), ChatHistoryBuilder::toChat(result)}),
              tokens("f{}page text"));
}

}  // namespace
}  // namespace folvane
