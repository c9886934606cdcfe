#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "store/Message.h"

namespace folvane {

// A chat as a web page: its Markdown text turned into HTML by cmark-gfm (with
// the GitHub extensions: tables, strikethrough, autolinks, task lists, and the
// tag filter), between a fixed head and tail. Raw HTML in a message is left
// out of the page rather than run.
class HtmlChatWriter {
  public:
    static const std::string_view head;
    static const std::string_view tail;

    static std::string render(const std::vector<Message>& messages);
    // The HTML fragment of a Markdown text.
    static std::string markdownToHtml(const std::string& markdown);
};

}  // namespace folvane
