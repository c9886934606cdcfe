#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "SimilaritySearchKit/NativeEmbeddings.h"
#include "chat/AppChatService.h"
#include "conversation/ChatDetailViewModel.h"
#include "fakes/FakeEmbedders.h"
#include "platform/Clipboard.h"
#include "platform/FileUrl.h"
#include "platform/XattrFileTagStore.h"
#include "providers/GPTEncoder.h"
#include "runtime/BlockingMainQueue.h"
#include "store/AppPreferences.h"
#include "support/ScriptedChatServer.h"
#include "support/TempDir.h"
#include "support/TestDatabase.h"
#include "support/TestPdf.h"

namespace folvane::test {

// The on-device embedder of the tests, counting the texts it encodes beyond
// the probe that every new index makes.
class CountingEmbeddings final : public EmbeddingsProtocol {
  public:
    std::optional<std::vector<float>> encode(const std::string& sentence) override {
        if (sentence != "Test sentence") ++calls;
        return inner_.encode(sentence);
    }
    std::atomic<int> calls = 0;

  private:
    NativeEmbeddings inner_;
};

class RecordingClipboard final : public Clipboard {
  public:
    void setText(const std::string& text) override { copied.push_back(text); }
    std::vector<std::string> copied;
};

// A chat over real parts: a SQLite file, PDFs made here, the chat service
// with its wire client, and a scripted model server on the loopback.
class ChatSessionFixture : public ::testing::Test {
  protected:
    TempDir dir;
    std::shared_ptr<SqliteConnection> db = makeDatabase(dir / "db.sqlite3");
    AppPreferences preferences;
    AppChatService service{db, preferences, nullptr, std::make_shared<GPTEncoder>(resourceDir())};
    BlockingMainQueue queue;
    LoopbackServer server;
    XattrFileTagStore fileTags;
    std::shared_ptr<CountingEmbeddings> embedder = std::make_shared<CountingEmbeddings>();
    test::FakeEmbedders embedders;
    RecordingClipboard clipboard;

    // A chat on a PDF of these pages, answered by the scripted server as a
    // custom model with this model id.
    Conversation makeChat(const std::vector<std::string>& pages, const std::string& model = "gpt-4",
                          const std::string& fileName = "paper.pdf") {
        const std::string path = dir / fileName;
        writeFile(path, makePdf(pages));
        Conversation chat = service.createConversation({fileUrlFromPath(path)});
        CustomModel custom;
        custom.provider = "Ollama";
        custom.name = "Scripted";
        custom.apiEndpoint = server.baseURL();
        custom.modelId = model;
        custom.contextLength = 16000;
        const int64_t customId = service.insertCustomModel(custom);
        service.updateCustomModelId(chat.id, customId);
        service.updateModel(chat.id, model);
        return *service.getConversation(chat.id);
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
            .clipboard = &clipboard,
        };
        return std::make_unique<ChatDetailViewModel>(std::move(services), chat);
    }

    // Opens the chat's view: messages and indexes.
    std::unique_ptr<ChatDetailViewModel> openLoaded(const Conversation& chat) {
        auto viewModel = open(chat);
        viewModel->trigger(chat_input::Sync{});
        viewModel->trigger(chat_input::LoadIndex{});
        EXPECT_TRUE(queue.runUntil(
            [&] {
                const auto state = viewModel->state().loadingState;
                return state == LoadingState::loaded || state == LoadingState::failed;
            },
            std::chrono::seconds(60)));
        return viewModel;
    }

    // Runs the main queue until the condition holds, also when it depends on
    // something other than the posted blocks (the server's requests).
    bool waitFor(const std::function<bool()>& condition,
                 std::chrono::seconds limit = std::chrono::seconds(30)) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        while (!queue.runUntil(condition, std::chrono::milliseconds(20))) {
            if (std::chrono::steady_clock::now() > deadline) return false;
        }
        return true;
    }

    // Runs the main queue until every request of the view model has ended.
    void finish(ChatDetailViewModel& viewModel) {
        EXPECT_TRUE(
            waitFor([&] { return !viewModel.isRequestRunning(); }, std::chrono::seconds(60)));
        viewModel.waitForRequests();
        queue.drain();
    }

    std::vector<Message> storedMessages(int64_t chatId) { return service.getMessages(chatId, 0); }
};

}  // namespace folvane::test
