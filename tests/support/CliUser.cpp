#include "support/CliUser.h"

#include <sstream>

#include "chat/AppChatService.h"
#include "store/AppPreferences.h"
#include "store/SqliteConnection.h"

namespace folvane::test {

CliResult CliUser::cli(const std::vector<std::string>& args, const std::string& input,
                       const std::string& workingDirectory) const {
    return runCli(args,
                  {{"HOME", home.path().string()},
                   {"XDG_DATA_HOME", home / "data"},
                   {"XDG_CONFIG_HOME", home / "config"},
                   {"XDG_DOCUMENTS_DIR", home / "documents"},
                   {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (home / "no-bus")}},
                  input, workingDirectory);
}

std::string CliUser::openChat(const std::vector<std::string>& paths) const {
    std::vector<std::string> args = {"open"};
    args.insert(args.end(), paths.begin(), paths.end());
    const auto opened = cli(args);
    EXPECT_EQ(opened.exitCode, 0) << opened.err;
    return opened.out.substr(0, opened.out.find('\n'));
}

std::string CliUser::openKeylessChat(const std::vector<std::string>& paths) const {
    const std::string id = openChat(paths);
    SqliteConnection::open(dataDir + "/db.sqlite3")
        ->execute("UPDATE conversations SET customModelId = 1 WHERE id = " + id);
    return id;
}

void CliUser::answerFrom(const std::string& chatId, const std::string& baseURL) const {
    AppPreferences preferences;
    AppChatService service(SqliteConnection::open(dataDir + "/db.sqlite3"), preferences);
    CustomModel custom;
    custom.provider = "Ollama";
    custom.name = "Scripted";
    custom.apiEndpoint = baseURL;
    custom.modelId = "gpt-4";
    custom.contextLength = 16000;
    const int64_t id = std::stoll(chatId);
    service.updateCustomModelId(id, service.insertCustomModel(custom));
    service.updateModel(id, "gpt-4");
}

std::vector<std::string> CliUser::lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) out.push_back(line);
    return out;
}

std::vector<nlohmann::json> CliUser::jsonLines(const std::string& text) {
    std::vector<nlohmann::json> rows;
    for (const auto& line : lines(text)) rows.push_back(nlohmann::json::parse(line));
    return rows;
}

}  // namespace folvane::test
