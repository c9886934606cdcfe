#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/CliRunner.h"
#include "support/TempDir.h"

namespace folvane::test {

// A new user of the built folvane-cli for each test: an empty home with its
// own data, settings and documents folders, and no Secret Service on the bus.
class CliUser : public ::testing::Test {
  protected:
    TempDir home;
    std::string dataDir = home / "data/co.tessavel.Folvane";
    std::string configDir = home / "config/co.tessavel.Folvane";

    CliResult cli(const std::vector<std::string>& args, const std::string& input = "",
                  const std::string& workingDirectory = "") const;

    // Opens the documents as a new chat and gives the chat's id.
    std::string openChat(const std::vector<std::string>& paths) const;
    // The same chat given a custom model, so that indexing it needs no API key.
    std::string openKeylessChat(const std::vector<std::string>& paths) const;

    // Makes the chat ask a server on the loopback, as an Ollama custom model
    // serving "gpt-4" would.
    void answerFrom(const std::string& chatId, const std::string& baseURL) const;

    static std::vector<std::string> lines(const std::string& text);
    // Each line of a --json listing.
    static std::vector<nlohmann::json> jsonLines(const std::string& text);
};

}  // namespace folvane::test
