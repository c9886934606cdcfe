#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "platform/FirefoxSession.h"
#include "support/MozLz4.h"
#include "support/TempDir.h"

namespace folvane {
namespace {

nlohmann::json tab(const std::string& url, const std::string& title) {
    return {{"index", 1}, {"entries", {{{"url", url}, {"title", title}}}}};
}

// Two windows: the first shows its second tab, whose history stands on its
// first entry; the second shows the paper.
const std::string twoWindows =
    nlohmann::json{{"selectedWindow", 2},
                   {"windows",
                    {{{"selected", 2},
                      {"tabs",
                       {tab("https://example.org/a", "A"),
                        {{"index", 1},
                         {"entries",
                          {{{"url", "https://example.org/back.pdf"}, {"title", "back.pdf"}},
                           {{"url", "https://example.org/forward"}, {"title", "Forward"}}}}}}}},
                     {{"selected", 1}, {"tabs", {tab("https://arxiv.org/pdf/1.pdf", "1.pdf")}}}}}}
        .dump();

TEST(FirefoxSessionTest, currentTabFollowsTheWindowTitle) {
    struct Case {
        std::string windowTitle;
        std::optional<std::string> url;
    };
    const std::vector<Case> cases = {
        {"back.pdf — Mozilla Firefox", "https://example.org/back.pdf"},
        {"1.pdf — Mozilla Firefox", "https://arxiv.org/pdf/1.pdf"},
        // No window of that title, or none given: the session's selected window.
        {"Something else — Mozilla Firefox", "https://arxiv.org/pdf/1.pdf"},
        {"", "https://arxiv.org/pdf/1.pdf"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(FirefoxSession::currentTab(twoWindows, c.windowTitle), c.url) << c.windowTitle;
    }
    EXPECT_EQ(FirefoxSession::currentTab(R"({"windows":[]})", ""), std::nullopt);
    EXPECT_EQ(FirefoxSession::currentTab("not json", ""), std::nullopt);
}

TEST(FirefoxSessionTest, readsTheProfilesSessionFile) {
    test::TempDir dir;
    const std::string json = twoWindows + std::string(3000, ' ');  // compresses
    const std::string bytes = test::encodeMozLz4(json);
    EXPECT_LT(bytes.size(), json.size());
    EXPECT_EQ(FirefoxSession::decode(bytes), json);
    test::writeFile(dir.path() / "sessionstore-backups/recovery.jsonlz4", bytes);
    EXPECT_EQ(FirefoxSession::currentTabOfProfile(dir.path(), "back.pdf — Mozilla Firefox"),
              "https://example.org/back.pdf");
    EXPECT_EQ(FirefoxSession::currentTabOfProfile(dir.path() / "none", ""), std::nullopt);
}

TEST(FirefoxSessionTest, refusesOtherFormatsAndDamagedBlocks) {
    const std::string good = test::encodeMozLz4(twoWindows);
    std::string wrongMagic = good;
    wrongMagic[3] = 'X';
    std::string cut = good.substr(0, good.size() / 2);
    std::string hugeSize = good;
    hugeSize[11] = char(0x7f);
    for (const auto& bytes : {wrongMagic, cut, hugeSize, std::string("mozLz40")}) {
        EXPECT_THROW(FirefoxSession::decode(bytes), std::runtime_error);
    }
}

TEST(FirefoxSessionTest, profilesPutTheDefaultFirst) {
    test::TempDir dir;
    test::writeFile(dir.path() / "profiles.ini",
                    "[Profile1]\nName=work\nIsRelative=1\nPath=abc.work\n\n"
                    "[Profile0]\nName=default\nIsRelative=1\nPath=xyz.default-release\n\n"
                    "[Profile2]\nName=elsewhere\nIsRelative=0\nPath=/srv/ff\n\n"
                    "[Install4F96D1932A9F858E]\nDefault=xyz.default-release\nLocked=1\n");
    EXPECT_EQ(FirefoxSession::profiles(dir.path()),
              (std::vector<std::filesystem::path>{dir.path() / "xyz.default-release",
                                                  dir.path() / "abc.work", "/srv/ff"}));
    // Without an install section, the profile marked Default=1.
    test::writeFile(dir.path() / "profiles.ini",
                    "[Profile0]\nPath=a\n[Profile1]\nPath=b\nDefault=1\n");
    EXPECT_EQ(FirefoxSession::profiles(dir.path()),
              (std::vector<std::filesystem::path>{dir.path() / "b", dir.path() / "a"}));
    EXPECT_TRUE(FirefoxSession::profiles(dir.path() / "missing").empty());
}

}  // namespace
}  // namespace folvane
