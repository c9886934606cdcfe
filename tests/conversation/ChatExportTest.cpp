#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "conversation/ChatExporter.h"
#include "conversation/HtmlChatWriter.h"
#include "support/TempDir.h"

namespace folvane {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

Message message(std::string role, std::string content) {
    Message m;
    m.role = std::move(role);
    m.content = std::move(content);
    return m;
}

// A chat with every kind of row: what is exported and what never is.
std::vector<Message> sampleChat() {
    Message system = message("system", "You answer from the documents.");
    Message question = message("user", "What is *proof of work*?");
    Message answer = message("assistant", "A chain of hashes.\n\n| a | b |\n|---|---|\n| 1 | 2 |");
    answer.references = std::vector<Reference>{Reference{}};
    Message marker = message("application", "");
    marker.name = "contextMarker";
    Message function = message("function", "page 3 text");
    function.functionName = "get_page_content";
    Message picture = message("user", "What does this chart show?");
    picture.imageURLs = {"file:///tmp/chart.png"};
    return {system, question, answer, marker, function, picture};
}

TEST(ChatExportTest, EachFormatWritesOnlyTheUsersAndTheAssistantsMessages) {
    const std::string markdown =
        "**User**: What is *proof of work*?\n\n"
        "**Assistant**: A chain of hashes.\n\n| a | b |\n|---|---|\n| 1 | 2 |\n\n"
        "**User**: What does this chart show?\n\n";
    const std::string body =
        "<p><strong>User</strong>: What is <em>proof of work</em>?</p>\n"
        "<p><strong>Assistant</strong>: A chain of hashes.</p>\n"
        "<table>\n<thead>\n<tr>\n<th>a</th>\n<th>b</th>\n</tr>\n</thead>\n"
        "<tbody>\n<tr>\n<td>1</td>\n<td>2</td>\n</tr>\n</tbody>\n</table>\n"
        "<p><strong>User</strong>: What does this chart show?</p>\n";
    const std::string json =
        R"([{"content":"What is *proof of work*?","role":"user"},)"
        R"({"content":"A chain of hashes.\n\n| a | b |\n|---|---|\n| 1 | 2 |","role":"assistant"},)"
        R"({"content":"What does this chart show?","role":"user"}])";

    struct Case {
        ChatExportFormat format;
        std::vector<Message> messages;
        std::string expected;
    };
    const std::string page =
        std::string(HtmlChatWriter::head) + body + std::string(HtmlChatWriter::tail);
    const std::string emptyPage =
        std::string(HtmlChatWriter::head) + std::string(HtmlChatWriter::tail);
    Message escaped = message("assistant", "Quote: \"x\" \\ done\n");
    escaped.name = "ignored";
    escaped.functionName = "ignored";
    const std::vector<Case> cases{
        {ChatExportFormat::markdown, sampleChat(), markdown},
        {ChatExportFormat::html, sampleChat(), page},
        {ChatExportFormat::json, sampleChat(), json},
        {ChatExportFormat::markdown, {}, ""},
        {ChatExportFormat::html, {}, emptyPage},
        {ChatExportFormat::json, {}, "[]"},
        // Only rows that are never exported: the same as an empty chat.
        {ChatExportFormat::json, {message("system", "x"), message("application", "")}, "[]"},
        // Only role and content, escaped.
        {ChatExportFormat::json,
         {escaped},
         R"([{"content":"Quote: \"x\" \\ done\n","role":"assistant"}])"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ChatExporter::render(c.format, c.messages), c.expected)
            << rawValue(c.format) << " of " << c.messages.size() << " messages";
    }
}

TEST(ChatExportTest, TheMarkdownConverterSpeaksGitHubMarkdownAndRunsNoHtml) {
    struct Case {
        std::string markdown;
        std::string expected;
    };
    const std::vector<Case> cases{
        {"~~gone~~", "<del>gone</del>"},
        {"see https://example.org/a", "<a href=\"https://example.org/a\">"},
        {"- [x] done", "checked=\"\" disabled=\"\" /> done"},
        {"```cpp\nint x = 1 < 2;\n```", "<code class=\"language-cpp\">int x = 1 &lt; 2;"},
        {"Ünïcödé — ✓", "Ünïcödé — ✓"},
    };
    for (const auto& c : cases) {
        EXPECT_THAT(HtmlChatWriter::markdownToHtml(c.markdown), HasSubstr(c.expected))
            << c.markdown;
    }
    const std::string html = HtmlChatWriter::markdownToHtml("<script>alert(1)</script>\n\nok");
    EXPECT_THAT(html, Not(HasSubstr("<script>")));
    EXPECT_THAT(html, HasSubstr("<p>ok</p>"));
}

TEST(ChatExportTest, EveryDefaultNameIsANewLowerCaseUuid) {
    const std::regex pattern(
        "chat-[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    std::set<std::string> names;
    for (int i = 0; i < 200; ++i) {
        const std::string name = ChatExporter::defaultFileName();
        EXPECT_TRUE(std::regex_match(name, pattern)) << name;
        names.insert(name);
    }
    EXPECT_EQ(names.size(), 200u);
}

TEST(ChatExportTest, WritingReplacesTheFileWholeOrFailsWithThePath) {
    test::TempDir dir;
    const std::string path = dir / "chat.md";
    test::writeFile(path, "an older and much longer export of the same chat\n");
    ChatExporter::write(ChatExportFormat::markdown, {message("user", "Hi")}, path);
    EXPECT_EQ(test::readFile(path), "**User**: Hi\n\n");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);

    try {
        ChatExporter::write(ChatExportFormat::json, {}, dir / "missing/chat.json");
        FAIL() << "expected a write error";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), HasSubstr("missing"));
    }
}

}  // namespace
}  // namespace folvane
