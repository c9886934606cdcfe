#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "support/CliUser.h"
#include "support/ReadOnlyPath.h"

namespace folvane {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

// The seed's demo chat is chat 1 with two messages.
class ChatListCliTest : public test::CliUser {
  protected:
    std::vector<nlohmann::json> jsonLines(const std::vector<std::string>& args) {
        const auto result = cli(args);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return CliUser::jsonLines(result.out);
    }

    nlohmann::json settings() {
        return nlohmann::json::parse(test::readFile(configDir + "/settings.json"));
    }
};

TEST_F(ChatListCliTest, ForkCopiesAChatUpToAMessageAndRemoveDeletesIt) {
    const auto messages = jsonLines({"messages", "1", "--json"});
    ASSERT_EQ(messages.size(), 2u);
    const std::string firstId = std::to_string(messages[0]["id"].get<int64_t>());

    const auto fork = cli({"fork", "1", firstId});
    ASSERT_EQ(fork.exitCode, 0) << fork.err;
    const std::string copy = fork.out.substr(0, fork.out.find('\n'));
    EXPECT_NE(copy, "1");
    const auto copied = jsonLines({"messages", copy, "--json"});
    ASSERT_EQ(copied.size(), 1u);
    EXPECT_EQ(copied[0]["content"], messages[0]["content"]);
    EXPECT_EQ(jsonLines({"chats", "--json"}).size(), 2u);

    const auto removed = cli({"remove", copy});
    ASSERT_EQ(removed.exitCode, 0) << removed.err;
    const auto chats = jsonLines({"chats", "--json"});
    ASSERT_EQ(chats.size(), 1u);
    EXPECT_EQ(chats[0]["id"], 1);

    const auto again = cli({"remove", copy});
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_THAT(again.err, HasSubstr("There is no chat with the id " + copy + "."));
    const auto strange = cli({"fork", "1", "999"});
    EXPECT_EQ(strange.exitCode, 1);
    EXPECT_THAT(strange.err, HasSubstr("The chat 1 has no message with the id 999."));
    EXPECT_EQ(cli({"fork", "1"}).exitCode, 2);
}

TEST_F(ChatListCliTest, ExportWritesEachFormatAndNamesTheFileByDefault) {
    const std::string out = home / "out";
    std::filesystem::create_directories(out);

    const auto markdown = cli({"export", "1", "--format", "markdown", "-o", out + "/demo.md"});
    ASSERT_EQ(markdown.exitCode, 0) << markdown.err;
    EXPECT_EQ(markdown.out, out + "/demo.md\n");
    const std::string text = test::readFile(out + "/demo.md");
    EXPECT_THAT(text,
                StartsWith("**User**: What problem does this paper solve?\n\n**Assistant**: "));

    const auto json = cli({"export", "1", "--format", "json", "-o", out + "/demo.json"});
    ASSERT_EQ(json.exitCode, 0) << json.err;
    const auto array = nlohmann::json::parse(test::readFile(out + "/demo.json"));
    ASSERT_EQ(array.size(), 2u);
    EXPECT_EQ(array[1]["role"], "assistant");

    // Without -o: "chat-<uuid>.html" in the working directory, a new name each time.
    const auto first = cli({"export", "1", "--format", "html"}, "", out);
    const auto second = cli({"export", "1", "--format", "html"}, "", out);
    ASSERT_EQ(first.exitCode, 0) << first.err;
    ASSERT_EQ(second.exitCode, 0) << second.err;
    EXPECT_NE(first.out, second.out);
    const std::filesystem::path page = first.out.substr(0, first.out.size() - 1);
    EXPECT_EQ(page.parent_path(), std::filesystem::path(out));
    EXPECT_THAT(page.filename().string(), StartsWith("chat-"));
    EXPECT_EQ(page.extension(), ".html");
    EXPECT_THAT(test::readFile(page), HasSubstr("<p><strong>User</strong>: What problem"));

    EXPECT_EQ(cli({"export", "1", "--format", "pdf"}).exitCode, 2);
    EXPECT_EQ(cli({"export", "1"}).exitCode, 2);
    const auto unwritable =
        cli({"export", "1", "--format", "json", "-o", out + "/no/such/dir.json"});
    EXPECT_EQ(unwritable.exitCode, 1);
    EXPECT_THAT(unwritable.err, HasSubstr("no/such/dir.json"));
}

TEST_F(ChatListCliTest, ModelsAddListDefaultAndRemove) {
    EXPECT_THAT(cli({"models", "list"}).out, HasSubstr("* 0    OpenAI (built in)"));

    // A local OpenAI-compatible server, with its key on standard input.
    const auto added = cli({"models", "add", "localai", "--name", "Workstation", "--endpoint",
                            "http://127.0.0.1:8080/v1/chat/completions", "--model", "qwen2.5",
                            "--context", "32768", "--header", "X-Team=docs", "--api-key-stdin"},
                           "sk-local-secret\n");
    ASSERT_EQ(added.exitCode, 0) << added.err;
    EXPECT_THAT(added.err, HasSubstr("the key is kept in memory only"));
    const std::string id = added.out.substr(0, added.out.find('\n'));

    auto models = jsonLines({"models", "list", "--json"});
    ASSERT_EQ(models.size(), 1u);
    EXPECT_EQ(models[0]["provider"], "LocalAI");
    EXPECT_EQ(models[0]["name"], "Workstation");
    EXPECT_EQ(models[0]["model"], "qwen2.5");
    EXPECT_EQ(models[0]["context"], 32768);
    EXPECT_EQ(models[0]["headers"], (nlohmann::json{"X-Team", "api-key"}));
    // Without an OpenAI key and no other default, the new model is the default.
    EXPECT_EQ(models[0]["default"], true);
    EXPECT_EQ(settings()["customModelId"], std::stoll(id));

    // The key stays out of every listing and of the settings file.
    const auto listing = cli({"models", "list"});
    EXPECT_THAT(listing.out, HasSubstr("Workstation  [Local Model]  model qwen2.5"));
    EXPECT_THAT(listing.out + test::readFile(configDir + "/settings.json"),
                Not(HasSubstr("sk-local-secret")));
    for (const auto& file : std::filesystem::recursive_directory_iterator(home / "data")) {
        if (file.is_regular_file()) {
            EXPECT_THAT(test::readFile(file.path()), Not(HasSubstr("sk-local-secret")))
                << file.path();
        }
    }

    // A second model with the Ollama defaults; new chats follow "default".
    const auto ollama = cli({"models", "add", "Ollama", "--model", "llama3"});
    ASSERT_EQ(ollama.exitCode, 0) << ollama.err;
    const std::string ollamaId = ollama.out.substr(0, ollama.out.find('\n'));
    models = jsonLines({"models", "list", "--json"});
    ASSERT_EQ(models.size(), 2u);
    EXPECT_EQ(models[1]["endpoint"], "http://localhost:11434");
    EXPECT_EQ(models[1]["context"], 8096);
    EXPECT_EQ(models[1]["default"], false);
    ASSERT_EQ(cli({"models", "default", ollamaId}).exitCode, 0);
    EXPECT_EQ(settings()["customModelId"], std::stoll(ollamaId));

    // Removing the default goes back to the built-in route.
    ASSERT_EQ(cli({"models", "remove", ollamaId}).exitCode, 0);
    EXPECT_EQ(settings()["customModelId"], 0);
    EXPECT_EQ(jsonLines({"models", "list", "--json"}).size(), 1u);
    ASSERT_EQ(cli({"models", "default", "0"}).exitCode, 0);

    const auto missing = cli({"models", "remove", ollamaId});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_THAT(missing.err, HasSubstr("There is no custom model with the id " + ollamaId));
}

TEST_F(ChatListCliTest, ModelsAddRefusesWhatTheFormWouldRefuse) {
    // Each is a value that can never work: a usage error, nothing stored.
    const std::string badContext = "the context length must be a whole number of tokens above 0";
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"LocalAI", "--endpoint", "http://127.0.0.1:8080/v1"},
         "The custom model was not saved: invalid endpoint."},
        {{"Ollama", "--context", "lots"}, badContext},
        {{"Ollama", "--context", "-5"}, badContext},
        {{"Ollama", "--context", "0"}, badContext},
        {{"OpenRouter", "--context", "abc"}, badContext},
        {{"Nowhere"}, "Unknown provider: Nowhere"},
        {{"LocalAI", "--header", "novalue"}, "A header is KEY=VALUE: novalue"},
    };
    for (const auto& [arguments, words] : cases) {
        std::vector<std::string> command = {"models", "add"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        SCOPED_TRACE(::testing::PrintToString(command));
        const auto added = cli(command);
        EXPECT_EQ(added.exitCode, 2);
        EXPECT_THAT(added.err, HasSubstr(words));
    }
    EXPECT_TRUE(jsonLines({"models", "list", "--json"}).empty());
}

TEST_F(ChatListCliTest, AStoreThatCannotBeWrittenRefusesEveryChangeWithTheCause) {
    ASSERT_EQ(cli({"chats"}).exitCode, 0);
    const std::string pdf = home / "paper.pdf";
    test::writeFile(pdf, "%PDF-1.4\n% a document\n");
    const std::string firstMessage =
        std::to_string(jsonLines({"messages", "1", "--json"})[0]["id"].get<int64_t>());

    for (const std::string& path : {dataDir + "/db.sqlite3", dataDir}) {
        SCOPED_TRACE(path);
        test::ReadOnlyPath readOnly(path);
        if (!readOnly.active()) GTEST_SKIP() << "cannot make a read-only path here";
        const std::vector<std::vector<std::string>> changes = {
            {"open", pdf},
            {"fork", "1", firstMessage},
            {"remove", "1"},
            {"rename", "1", "Renamed"},
            {"models", "add", "Ollama"},
        };
        for (const auto& change : changes) {
            const auto result = cli(change);
            EXPECT_EQ(result.exitCode, 1) << change[0] << ": " << result.err;
            EXPECT_THAT(result.err, HasSubstr("cannot be written")) << change[0];
        }
        const auto chats = jsonLines({"chats", "--json"});
        ASSERT_EQ(chats.size(), 1u);
        EXPECT_EQ(chats[0]["title"], "Example Chat");
        EXPECT_TRUE(jsonLines({"models", "list", "--json"}).empty());
    }
}

TEST_F(ChatListCliTest, RenameChangesTheTitle) {
    ASSERT_EQ(cli({"rename", "1", "Bitcoin notes"}).exitCode, 0);
    EXPECT_EQ(jsonLines({"chats", "--json"})[0]["title"], "Bitcoin notes");
    EXPECT_EQ(cli({"rename", "1", "  "}).exitCode, 2);
    EXPECT_EQ(cli({"rename", "7", "x"}).exitCode, 1);
}

}  // namespace
}  // namespace folvane
