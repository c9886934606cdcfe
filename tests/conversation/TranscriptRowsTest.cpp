#include <gtest/gtest.h>

#include "conversation/MessageStylesheet.h"
#include "conversation/TranscriptRows.h"
#include "store/AppPreferences.h"
#include "store/CodeBlockColorScheme.h"

namespace folvane {
namespace {

Message message(int64_t id, std::string role, std::string content) {
    Message m;
    m.id = id;
    m.role = std::move(role);
    m.content = std::move(content);
    return m;
}

DocumentInfo document(int64_t bookmarkId, std::string url) {
    DocumentInfo info;
    info.bookmark.id = bookmarkId;
    info.fileUrl = std::move(url);
    return info;
}

std::vector<std::string> kinds(const std::vector<TranscriptRow>& rows) {
    std::vector<std::string> out;
    for (const auto& row : rows) out.push_back(row.content["kind"].get<std::string>());
    return out;
}

TEST(MessageStylesheetTest, RulesFromFontsSizeAndLeading) {
    struct Case {
        std::optional<std::string> font, codeFont;
        double size;
        AppFontLeading leading;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {std::nullopt, std::nullopt, 13, AppFontLeading::standard,
         "* {\n    font-family: \"system-ui\", system-ui;\n    font-size: 13.0px;\n"
         "    line-height: 1.5;\n}pre, code, kbd, tt, samp, pre *, code * {\n"
         "    font-family: \"ui-monospace\", ui-monospace;\n}"},
        {"Noto Sans", "DejaVu Sans Mono", 10.5, AppFontLeading::loose,
         "* {\n    font-family: \"Noto Sans\", system-ui;\n    font-size: 10.5px;\n"
         "    line-height: 1.75;\n}pre, code, kbd, tt, samp, pre *, code * {\n"
         "    font-family: \"DejaVu Sans Mono\", ui-monospace;\n}"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(MessageStylesheet::build(c.font, c.codeFont, c.size, c.leading), c.expected);
    EXPECT_NE(MessageStylesheet::build({}, {}, 9, AppFontLeading::tight).find("line-height: 1.25;"),
              std::string::npos);
}

TEST(MessageStylesheetTest, FromSettingsAddsTwoPointsPerStepAndNamesThemes) {
    AppPreferences preferences;
    preferences.setTextSizeAdjustment(2);
    preferences.setFontName("Serif \xC3\xA9");
    preferences.setCodeColorSchemeDark(*codeBlockColorSchemeFromRaw("atom-one-dark-reasonable"));
    auto style = MessageStylesheet::from(preferences, 11);
    EXPECT_NE(style.stylesheet.find("font-size: 15.0px;"), std::string::npos);
    EXPECT_NE(style.stylesheet.find("\"Serif \xC3\xA9\", system-ui"), std::string::npos);
    EXPECT_EQ(style.lightTheme, "github");
    EXPECT_EQ(style.darkTheme, "atom-one-dark-reasonable");
}

TEST(TranscriptRowsTest, EmptyChatAndSearchWithoutHits) {
    ChatDetailState state;
    state.loaded = true;
    EXPECT_EQ(kinds(TranscriptRows::build(state, {})), std::vector<std::string>{"empty"});
    EXPECT_EQ(TranscriptRows::build(state, {})[0].content["text"], "No Messages");

    state.messages = {message(1, "user", "hello")};
    state.searchKeyword = "zebra";
    auto rows = TranscriptRows::build(state, {});
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].content["text"], "No Results");
    state.isSearching = true;
    EXPECT_TRUE(TranscriptRows::build(state, {}).empty());
}

TEST(TranscriptRowsTest, RowKindsInOrderWithMarkersAndFunctionResults) {
    ChatDetailState state;
    auto marker = message(2, "application", "");
    marker.name = "reset-context";
    auto otherMarker = message(3, "application", "");
    otherMarker.name = "something-else";
    auto search = message(5, "assistant", "");
    search.functionName = "get_search_result";
    search.functionArguments = R"({"query":"bitcoin & proof of work"})";
    state.messages = {message(1, "user", "q"),     marker, otherMarker,
                      message(4, "function", "r"), search, message(6, "assistant", "answer")};
    auto rows = TranscriptRows::build(state, {});
    EXPECT_EQ(kinds(rows),
              (std::vector<std::string>{"user", "divider", "search", "assistant", "regenerate"}));
    EXPECT_EQ(rows[1].content["text"], "Context Cleared");
    EXPECT_EQ(rows[1].content["deleteLabel"], "Delete");
    EXPECT_EQ(rows[2].content["url"],
              "https://www.google.com/search?q=bitcoin%20%26%20proof%20of%20work");
    EXPECT_EQ(rows[3].key, "6");
    EXPECT_FALSE(rows[4].content.contains("continue"));

    state.lastFinishReason = "length";
    EXPECT_EQ(TranscriptRows::build(state, {}).back().content["continue"], "Continue generating");
}

TEST(TranscriptRowsTest, StatusLineFollowsTheAssistant) {
    ChatDetailState state;
    state.messages = {message(1, "user", "q")};
    state.liveMessage = message(Message::liveMessageId, "assistant", "");
    struct Case {
        AssistantState assistant;
        std::optional<std::string> error;
        std::string kind, text;
    };
    const std::vector<Case> cases = {
        {AssistantState::thinking, {}, "status", "Assistant is thinking..."},
        {AssistantState::typing, {}, "status", "Assistant is typing..."},
        {AssistantState::searching, {}, "status", "Searching the web..."},
        {AssistantState::reading, {}, "status", "Reading the document..."},
        {AssistantState::failed, "Invalid key", "error", "Invalid key"},
        {AssistantState::failed, "", "error", TranscriptRows::fallbackError},
    };
    for (const auto& c : cases) {
        state.assistantState = c.assistant;
        state.lastError = c.error;
        auto rows = TranscriptRows::build(state, {});
        ASSERT_EQ(rows.size(), 3u);
        EXPECT_EQ(rows[1].content["kind"], "waiting");
        EXPECT_EQ(rows[1].key, "live");
        EXPECT_EQ(rows[2].content["kind"], c.kind);
        EXPECT_EQ(rows[2].content["text"], c.text);
    }
    // The reply streams: the live row carries the text, and no actions yet.
    state.assistantState = AssistantState::typing;
    state.liveMessage->content =
        "Gr\xC3\xBC\xC3\x9F"
        "e";
    auto rows = TranscriptRows::build(state, {});
    EXPECT_EQ(rows[1].content["kind"], "assistant");
    EXPECT_EQ(rows[1].content["text"],
              "Gr\xC3\xBC\xC3\x9F"
              "e");
    EXPECT_FALSE(rows[1].content.contains("actions"));
}

TEST(TranscriptRowsTest, UserRowsAndActions) {
    ChatDetailState state;
    auto quoted = message(1, "user", "why?");
    quoted.contextMode = "quotedContent";
    quoted.stringContext = "the quoted passage";
    quoted.imageURLs = {"file:///tmp/a.jpg"};
    auto plain = message(2, "user", "and?");
    plain.contextMode = "all";
    plain.stringContext = "not shown";
    state.messages = {quoted, plain, message(3, "assistant", "yes")};
    auto rows = TranscriptRows::build(state, {false, true, true});
    EXPECT_EQ(rows[0].content["context"], "the quoted passage");
    EXPECT_EQ(rows[0].content["images"][0], "file:///tmp/a.jpg");
    EXPECT_EQ(rows[0].content["showFull"], "Show Full Message");
    EXPECT_FALSE(rows[1].content.contains("context"));
    EXPECT_EQ(rows[2].content["markdown"], false);
    EXPECT_EQ(rows[2].content["math"], true);

    auto helps = [](const TranscriptRow& row) {
        std::vector<std::string> out;
        for (const auto& a : row.content["actions"]) out.push_back(a["help"]);
        return out;
    };
    EXPECT_EQ(helps(rows[0]), (std::vector<std::string>{"Copy to clipboard", "Edit",
                                                        "Save Message to File", "Delete"}));
    EXPECT_EQ(helps(rows[2]), (std::vector<std::string>{"Copy to clipboard", "Edit", "Regenerate",
                                                        "Save Message to File", "Delete"}));
    EXPECT_EQ(rows[2].content["actions"][2]["title"], "Regenerate Response");
}

TEST(TranscriptRowsTest, PageReferencesNameTheDocumentOnlyWhenThereAreSeveral) {
    ChatDetailState state;
    auto answer = message(7, "assistant", "see");
    answer.references = std::vector<Reference>{
        {"a", 1, 3, 0.9f}, {"b", 1, std::nullopt, 0.5f}, {"c", 2, 12, 0.4f}, {"d", 9, 4, 0.3f}};
    state.messages = {answer};
    state.allDocuments = {document(1, "file:///docs/Bitcoin%20Whitepaper.pdf")};

    auto refs = TranscriptRows::build(state, {})[0].content["references"];
    ASSERT_EQ(refs.size(), 3u);  // the one without a page has no button
    EXPECT_EQ(refs[0]["label"], "3");
    EXPECT_EQ(refs[0]["tooltip"], "Page 3");
    EXPECT_EQ(refs[1]["index"], 2);

    state.allDocuments.push_back(document(2, "file:///docs/Other.pdf"));
    refs = TranscriptRows::build(state, {})[0].content["references"];
    EXPECT_EQ(refs[0]["tooltip"], "Page 3 \xC2\xB7 Bitcoin Whitepaper.pdf");
    EXPECT_EQ(refs[1]["tooltip"], "Page 12 \xC2\xB7 Other.pdf");
    EXPECT_EQ(refs[2]["tooltip"], "Page 4");  // its document left the chat

    EXPECT_FALSE(
        TranscriptRows::build(state, {true, false, false})[0].content.contains("references"));
    EXPECT_EQ(TranscriptRows::findMessage(state, "7"), &state.messages[0]);
    EXPECT_EQ(TranscriptRows::findMessage(state, "live"), nullptr);
}

}  // namespace
}  // namespace folvane
