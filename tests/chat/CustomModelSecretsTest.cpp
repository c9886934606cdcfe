#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "chat/AppChatService.h"
#include "chat/ClientRouter.h"
#include "platform/SecretStore.h"
#include "providers/OpenAI.h"
#include "store/AppPreferences.h"
#include "store/CustomModelSecrets.h"
#include "support/TempDir.h"
#include "support/TestDatabase.h"

namespace folvane {
namespace {

using Headers = std::vector<CustomModelHeaderEntry>;

class CustomModelSecretsTest : public ::testing::Test {
  protected:
    test::TempDir dir;
    std::shared_ptr<SqliteConnection> db = test::makeDatabase(dir / "db.sqlite3");
    AppPreferences preferences;  // keeps its secrets in a MemorySecretStore
    AppChatService service{db, preferences};
    SecretStore& secrets = preferences.secretStore();

    int64_t addLocalModel(const Headers& headers) {
        CustomModel model;
        model.provider = "LocalAI";
        model.name = "Workstation";
        model.apiEndpoint = "http://127.0.0.1:8080/v1/chat/completions";
        model.modelId = "qwen2.5";
        model.headers = headers;
        return service.insertCustomModel(model);
    }

    // The headers column as SQLite holds it.
    nlohmann::json storedHeaders(int64_t id) {
        auto query = db->prepare("SELECT headers FROM custom_models WHERE id = ?");
        query.bind(id);
        EXPECT_TRUE(query.step());
        return nlohmann::json::parse(query.text(0));
    }
};

TEST_F(CustomModelSecretsTest, SecretHeaders) {
    for (const char* name : {"api-key", "X-API-Key", "Authorization", "AUTHORIZATION"}) {
        EXPECT_TRUE(CustomModelSecrets::isSecretHeader(name)) << name;
    }
    for (const char* name : {"X-Team", "api-key2", "", "HTTP-Referer", "x-api"}) {
        EXPECT_FALSE(CustomModelSecrets::isSecretHeader(name)) << name;
    }
    EXPECT_EQ(CustomModelSecrets::itemName(7, "X-API-Key"), "custom-model-7-x-api-key");
}

TEST_F(CustomModelSecretsTest, TheKeyLivesInTheSecretStoreAndReachesTheRequest) {
    const int64_t id = addLocalModel({{"X-Team", "docs"}, {"api-key", "sk-local-secret"}});

    // The row keeps the entries in order, the key's value empty.
    EXPECT_EQ(storedHeaders(id), nlohmann::json::parse(R"([{"key":"X-Team","value":"docs"},
                                                           {"key":"api-key","value":""}])"));
    EXPECT_EQ(secrets.read("custom-model-" + std::to_string(id) + "-api-key"), "sk-local-secret");

    // The models the view models show carry the key again.
    const Headers full{{"X-Team", "docs"}, {"api-key", "sk-local-secret"}};
    EXPECT_EQ(service.getCustomModel(id)->headers, full);
    ASSERT_EQ(service.getCustomModels().size(), 1u);
    EXPECT_EQ(service.getCustomModels()[0].headers, full);

    Conversation chat;
    chat.model = "qwen2.5";
    chat.customModelId = id;
    const auto route = service.router().resolveClient(chat);
    const Configuration& configuration = route.client->configuration();
    EXPECT_EQ(configuration.token, "sk-local-secret");
    EXPECT_EQ(configuration.customHeaders.at("api-key"), "sk-local-secret");
    EXPECT_EQ(configuration.customHeaders.at("X-Team"), "docs");
}

TEST_F(CustomModelSecretsTest, UpdateAndRemoveKeepTheItemsInStep) {
    const int64_t id = addLocalModel({{"Authorization", "Bearer one"}, {"x-api-key", "two"}});
    const std::string prefix = "custom-model-" + std::to_string(id) + "-";
    EXPECT_EQ(secrets.read(prefix + "authorization"), "Bearer one");
    EXPECT_EQ(secrets.read(prefix + "x-api-key"), "two");

    // A changed key is stored again; a dropped header takes its item along.
    service.updateCustomModel(id, "Workstation", "http://127.0.0.1:8080/v1/chat/completions",
                              "qwen2.5", 4096, Headers{{"Authorization", "Bearer three"}}, true);
    EXPECT_EQ(storedHeaders(id), nlohmann::json::parse(R"([{"key":"Authorization","value":""}])"));
    EXPECT_EQ(secrets.read(prefix + "authorization"), "Bearer three");
    EXPECT_EQ(secrets.read(prefix + "x-api-key"), std::nullopt);
    EXPECT_EQ(service.getCustomModel(id)->headers, (Headers{{"Authorization", "Bearer three"}}));

    service.deleteCustomModel(id);
    EXPECT_EQ(secrets.read(prefix + "authorization"), std::nullopt);
}

TEST_F(CustomModelSecretsTest, RowsFromBeforeKeepTheirKeyInTheDatabase) {
    // A key written in clear by an older version is still used as it is.
    CustomModel model;
    model.provider = "LocalAI";
    model.apiEndpoint = "http://127.0.0.1:8080/v1/chat/completions";
    model.headers = Headers{{"api-key", "sk-old"}};
    const int64_t id = CustomModelHelper(db).insert(model);
    EXPECT_EQ(service.getCustomModel(id)->headers, (Headers{{"api-key", "sk-old"}}));
}

}  // namespace
}  // namespace folvane
