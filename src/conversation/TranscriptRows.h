#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "conversation/ChatDetailState.h"

namespace folvane {

// One row of a chat's transcript as the page draws it: a key that stays the
// same while the row's content changes (the message id, or a fixed name), and
// the row's content as JSON, whose "kind" says which row it is.
struct TranscriptRow {
    std::string key;
    nlohmann::ordered_json content;

    bool operator==(const TranscriptRow&) const = default;
};

// Which rows a chat's state shows and what they say. The settings that
// change the rows are passed in; the page only draws what comes out.
class TranscriptRows {
  public:
    struct Options {
        bool useMarkdown = true;
        bool useLaTeX = false;
        bool showPageReferences = true;
    };

    static constexpr const char* fallbackError =
        "Something went wrong. This could be a temporary network connection issue. Please try "
        "again or contact support.";

    static std::vector<TranscriptRow> build(const ChatDetailState& state, const Options& options);

    // The message a row key names, in the messages shown, or nullptr.
    static const Message* findMessage(const ChatDetailState& state, const std::string& key);

    // The key of a message's row.
    static std::string keyOf(const Message& message);

    // The query of a web search that the model asked for, from its arguments.
    static std::string searchQuery(const Message& message);
    // The web search page of a query, the query in the key "q".
    static std::string searchUrl(const std::string& query);
};

}  // namespace folvane
