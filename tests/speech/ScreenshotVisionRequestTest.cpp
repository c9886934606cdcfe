#include <gtest/gtest.h>

#include <chrono>
#include <random>

#include "conversation/ChatSessionFixture.h"
#include "speech/ScreenCaptureGate.h"
#include "support/LoopbackHttpClient.h"
#include "support/SseScript.h"
#include "support/TestImage.h"

namespace folvane {
namespace {

namespace in = chat_input;
using json = nlohmann::json;

// A chat on the built-in OpenAI route, that route pointed at the loopback
// server: the route a screenshot may be asked on.
class ScreenshotVisionRequestTest : public ::testing::Test {
  protected:
    test::TempDir dir;
    std::shared_ptr<SqliteConnection> db = test::makeDatabase(dir / "db.sqlite3");
    AppPreferences preferences;
    test::LoopbackServer server;
    AppChatService service{db, preferences, std::make_shared<test::LoopbackHttpClient>(),
                           std::make_shared<GPTEncoder>(test::resourceDir())};
    BlockingMainQueue queue;
    XattrFileTagStore fileTags;
    std::shared_ptr<test::CountingEmbeddings> embedder =
        std::make_shared<test::CountingEmbeddings>();
    test::FakeEmbedders embedders;

    void SetUp() override {
        preferences.setCustomHost(server.baseURL().substr(std::string("http://").size()));
        // A made-up key, so that the request is complete; it is never stored.
        preferences.setOpenAIKey("sk-test-" + std::to_string(std::random_device()()));
        test::SseScript script;
        script.content("A chart of sales").finish("stop").done();
        server.setHandler(test::chunkedResponse(script.pieces()));
    }

    std::unique_ptr<ChatDetailViewModel> open(const Conversation& chat) {
        ChatDetailServices services{
            .chatService = service,
            .preferences = preferences,
            .mainQueue = queue,
            .encoder = service.encoder(),
            .makeIndexer =
                [this](const Conversation& c, ChatIndexer::Listener listener) {
                    embedders.makeLocal = [this] { return embedder; };
                    embedders.makeRemote = [this](EmbeddingModelType) { return embedder; };
                    return std::make_unique<ChatIndexer>(
                        c,
                        ChatIndexerDependencies{
                            service.documentStore(), preferences, embedders, fileTags, {}},
                        std::move(listener));
                },
            .localEmbedder = [this] { return embedder; },
            .clipboard = nullptr,
        };
        return std::make_unique<ChatDetailViewModel>(std::move(services), chat);
    }

    bool waitFor(const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!queue.runUntil(condition, std::chrono::milliseconds(20))) {
            if (std::chrono::steady_clock::now() > deadline) return false;
        }
        return true;
    }
};

TEST_F(ScreenshotVisionRequestTest, ACapturedFileReachesTheVisionModelAsAJpegDataUrl) {
    const std::string pdf = dir / "paper.pdf";
    test::writeFile(pdf, test::makePdf({"A page about something else."}));
    const Conversation chat = service.createConversation({fileUrlFromPath(pdf)});
    ASSERT_FALSE(screenCaptureAlert(std::nullopt, false));

    // What the screenshot tool leaves: JPEG under the .png name, 1200 wide.
    const auto file = screenshotFilePath(dir / "data", std::chrono::system_clock::now());
    std::filesystem::create_directories(file.parent_path());
    ASSERT_TRUE(test::writeTestImage(file, test::ImageFormat::jpeg, 1200, 600));
    const std::string url = fileUrlFromPath(file.string());

    auto viewModel = open(chat);
    viewModel->trigger(in::Sync{});
    viewModel->trigger(in::AddImages{{url}});
    ASSERT_EQ(viewModel->state().contextMode, ChatContextMode::images);
    viewModel->trigger(in::AddMessage{"What is on my screen?"});
    ASSERT_TRUE(waitFor([&] {
        return viewModel->state().assistantState == AssistantState::idle &&
               !viewModel->isRequestRunning();
    }));
    viewModel->waitForRequests();
    queue.drain();

    ASSERT_EQ(server.requests().size(), 1u);
    const json body = json::parse(server.lastRequest().body);
    EXPECT_EQ(body["model"], "gpt-4-vision-preview");
    const json& content = body["messages"].back()["content"];
    ASSERT_TRUE(content.is_array()) << content.dump();
    std::vector<std::string> imageUrls;
    bool question = false;
    for (const auto& item : content) {
        if (item["type"] == "image_url") imageUrls.push_back(item["image_url"]["url"]);
        if (item["type"] == "text")
            question =
                item["text"].get<std::string>().find("What is on my screen?") != std::string::npos;
    }
    EXPECT_TRUE(question) << content.dump();
    ASSERT_EQ(imageUrls.size(), 1u);
    EXPECT_TRUE(imageUrls[0].starts_with("data:image/jpeg;base64,")) << imageUrls[0].substr(0, 40);

    // The list waits no more; the message keeps the file, which stays.
    EXPECT_TRUE(viewModel->state().imageURLs.empty());
    const auto stored = service.getMessages(chat.id, 0);
    ASSERT_FALSE(stored.empty());
    EXPECT_EQ(stored.front().imageURLs, std::vector<std::string>{url});
    EXPECT_TRUE(std::filesystem::exists(file));
}

}  // namespace
}  // namespace folvane
