#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <thread>

#include "SimilaritySearchKit/DistilbertEmbeddings.h"
#include "SimilaritySearchKit/EmbedderFactory.h"
#include "SimilaritySearchKit/EmbeddingModelLoadError.h"
#include "SimilaritySearchKit/NativeEmbeddings.h"
#include "SimilaritySearchKit/OpenAIEmbeddings.h"
#include "fakes/FakeEmbeddings.h"
#include "platform/CurlHttpClient.h"
#include "providers/OpenAI.h"
#include "store/AppPreferences.h"
#include "support/LogCapture.h"
#include "support/LoopbackServer.h"
#include "support/TempDir.h"

namespace folvane {
namespace {

using nlohmann::json;
using test::FakeEmbeddings;
using test::LogCapture;
using namespace std::chrono_literals;

// Sends every request to the loopback server whatever its host, keeping the
// URL it was asked for.
class RedirectingHttpClient : public HttpClient {
  public:
    explicit RedirectingHttpClient(std::string target) : target_(std::move(target)) {}

    HttpResponseHead perform(const HttpRequest& request, const HttpBlockHandler& onBlock,
                             std::stop_token stop) override {
        {
            std::scoped_lock lock(mutex_);
            urls_.push_back(request.url);
        }
        HttpRequest redirected = request;
        const size_t pathStart = request.url.find('/', request.url.find("://") + 3);
        redirected.url = target_ + request.url.substr(pathStart);
        return inner_.perform(redirected, onBlock, stop);
    }
    std::filesystem::path download(const HttpRequest& request, std::stop_token stop) override {
        return inner_.download(request, stop);
    }
    std::vector<std::string> urls() {
        std::scoped_lock lock(mutex_);
        return urls_;
    }

  private:
    std::string target_;
    CurlHttpClient inner_;
    std::mutex mutex_;
    std::vector<std::string> urls_;
};

class EmbedderFactoryTest : public ::testing::Test {
  protected:
    test::TempDir dir;
    AppPreferences preferences;
    std::unique_ptr<EmbedderFactory> factory;

    void configure(EmbedderFactory::Setup setup) {
        factory = std::make_unique<EmbedderFactory>(preferences, std::move(setup));
    }
    std::mutex mutex;
    std::vector<int> computeUnitsAsked;

    // A stand-in for the BERT encoder per compute units: a model that encodes,
    // one that fails the test sentence, or a load error.
    enum class Outcome { encodes, failsTest, doesNotLoad };

    void useDistilbert(std::map<int, Outcome> outcomes) {
        EmbedderFactory::Setup setup;
        setup.makeDistilbert = [this, outcomes](int units) -> std::shared_ptr<EmbeddingsProtocol> {
            {
                std::scoped_lock lock(mutex);
                computeUnitsAsked.push_back(units);
            }
            const Outcome outcome = outcomes.at(units);
            if (outcome == Outcome::doesNotLoad) {
                throw EmbeddingModelLoadError("truncated header in model.safetensors");
            }
            auto model = std::make_shared<FakeEmbeddings>(768);
            if (outcome == Outcome::failsTest) model->fail("Test sentence");
            return model;
        };
        configure(std::move(setup));
    }
};

TEST_F(EmbedderFactoryTest, TheLocalModelFallsFromAllUnitsToCpuToTheLexicalModel) {
    using O = Outcome;
    // Compute units 2 are all of them, 0 the CPU only.
    struct Case {
        const char* name;
        Outcome allUnits, cpu;
        std::vector<int> asked;
        EmbeddingModelType type;
        size_t dimension;
    };
    const auto distilbert = EmbeddingModelType::distilbert;
    const auto native = EmbeddingModelType::native;
    const std::vector<Case> cases{
        {"all units work", O::encodes, O::encodes, {2}, distilbert, 768},
        {"CPU only works", O::failsTest, O::encodes, {2, 0}, distilbert, 768},
        {"neither encodes", O::failsTest, O::failsTest, {2, 0}, native, 512},
        {"weights do not load", O::doesNotLoad, O::encodes, {2}, native, 512},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        computeUnitsAsked.clear();
        LogCapture log;
        useDistilbert({{2, c.allUnits}, {0, c.cpu}});
        const auto model = factory->local();
        EXPECT_EQ(computeUnitsAsked, c.asked);
        EXPECT_EQ(factory->localType(), c.type);
        EXPECT_EQ(model->encode("Test sentence").value().size(), c.dimension);
        EXPECT_EQ(factory->local(), model) << "made once";
        EXPECT_EQ(computeUnitsAsked, c.asked);
        EXPECT_EQ(log.contains("Failed to load the Core ML model. Error: truncated header in "
                               "model.safetensors"),
                  c.allUnits == O::doesNotLoad);
    }
}

TEST_F(EmbedderFactoryTest, MissingWeightsLeaveTheLexicalModelAndSaySo) {
    LogCapture log;
    configure({dir / "models", FOLVANE_TEST_RESOURCE_DIR, nullptr, nullptr});
    const auto model = factory->local();
    EXPECT_NE(dynamic_cast<NativeEmbeddings*>(model.get()), nullptr);
    EXPECT_EQ(factory->localType(), EmbeddingModelType::native);
    EXPECT_TRUE(log.mentions("Failed to load the Core ML model. Error: "));
}

TEST_F(EmbedderFactoryTest, ConcurrentFirstCallsLoadOneModel) {
    std::atomic<int> made = 0;
    EmbedderFactory::Setup setup;
    setup.makeDistilbert = [&](int) -> std::shared_ptr<EmbeddingsProtocol> {
        ++made;
        auto model = std::make_shared<FakeEmbeddings>(768);
        // A slow test encoding widens the window for a second load.
        model->onEncode = [](const std::string&) { std::this_thread::sleep_for(50ms); };
        return model;
    };
    configure(std::move(setup));

    constexpr int callers = 8;
    std::barrier start(callers);
    std::vector<std::shared_ptr<EmbeddingsProtocol>> models(callers);
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < callers; ++i) {
            threads.emplace_back([&, i] {
                start.arrive_and_wait();
                models[static_cast<size_t>(i)] = factory->local();
            });
        }
    }
    EXPECT_EQ(made.load(), 1);
    for (const auto& model : models) EXPECT_EQ(model, models.front());
    EXPECT_EQ(factory->localType(), EmbeddingModelType::distilbert);
}

TEST_F(EmbedderFactoryTest, TheRemoteModelTakesItsNameKeyAndHostAtEachCall) {
    test::LoopbackServer server;
    server.setHandler(test::plainResponse(
        R"({"object":"list","data":[{"object":"embedding","embedding":[0.5],"index":0}],)"
        R"("model":"m","usage":{"prompt_tokens":1,"total_tokens":1}})"));
    auto http = std::make_shared<RedirectingHttpClient>(server.baseURL());
    configure({{}, {}, http, nullptr});

    const std::vector<std::pair<EmbeddingModelType, std::string>> names{
        {EmbeddingModelType::textEmbedding3_small, "text-embedding-3-small"},
        {EmbeddingModelType::openAI, "text-embedding-ada-002"},
        {EmbeddingModelType::jina, "text-embedding-ada-002"},
        {EmbeddingModelType::distilbert, "text-embedding-ada-002"},
    };
    preferences.setOpenAIKey("sk-first");
    for (const auto& [type, name] : names) {
        const auto model = factory->remote(type);
        ASSERT_EQ(dynamic_cast<OpenAIEmbeddings&>(*model).model(), name);
        EXPECT_EQ(model->encode("a chunk"), std::vector<float>{0.5f});
        EXPECT_EQ(json::parse(server.lastRequest().body)["model"], name);
    }
    EXPECT_EQ(http->urls().back(), "https://api.openai.com/v1/embeddings");
    EXPECT_EQ(server.lastRequest().header("Authorization"), "Bearer sk-first");

    // An embedder keeps the key it was made with; a new one takes the new key
    // and the custom host.
    const auto before = factory->remote(EmbeddingModelType::openAI);
    preferences.setOpenAIKey("sk-second");
    preferences.setCustomHost("proxy.example.test:8443");
    const auto after = factory->remote(EmbeddingModelType::openAI);
    EXPECT_NE(before, after);
    before->encode("x");
    EXPECT_EQ(server.lastRequest().header("Authorization"), "Bearer sk-first");
    after->encode("x");
    EXPECT_EQ(server.lastRequest().header("Authorization"), "Bearer sk-second");
    EXPECT_EQ(http->urls().back(), "https://proxy.example.test:8443/v1/embeddings");

    // Without a key the embedder is still made (its test sentence needs none).
    preferences.setOpenAIKey("");
    EXPECT_TRUE(factory->remote(EmbeddingModelType::openAI));
}

}  // namespace
}  // namespace folvane
