#include "conversation/HtmlChatWriter.h"

#include <cmark-gfm-core-extensions.h>
#include <cmark-gfm-extension_api.h>
#include <cmark-gfm.h>

#include <cstdlib>
#include <memory>
#include <mutex>
#include <stdexcept>

#include "conversation/MarkdownChatWriter.h"

namespace folvane {

const std::string_view HtmlChatWriter::head =
    "<!DOCTYPE html>\n<html>\n\n<head>\n    <meta charset=\"UTF-8\">\n    <meta "
    "name=\"viewport\" content=\"width=device-width, initial-scale=1.0, maximum-scale=1.0, "
    "user-scalable=no\">\n    <style>\n        :root {\n            color-scheme: light dark "
    "!important;\n        }\n    </style>\n</head>\n\n<body>\n";

const std::string_view HtmlChatWriter::tail = "\n</body>\n\n</html>";

namespace {

struct ParserDeleter {
    void operator()(cmark_parser* parser) const { cmark_parser_free(parser); }
};
struct NodeDeleter {
    void operator()(cmark_node* node) const { cmark_node_free(node); }
};

void attachExtension(cmark_parser* parser, const char* name) {
    if (cmark_syntax_extension* extension = cmark_find_syntax_extension(name)) {
        cmark_parser_attach_syntax_extension(parser, extension);
    }
}

}  // namespace

std::string HtmlChatWriter::markdownToHtml(const std::string& markdown) {
    static std::once_flag registered;
    std::call_once(registered, [] { cmark_gfm_core_extensions_ensure_registered(); });

    const int options = CMARK_OPT_DEFAULT;
    std::unique_ptr<cmark_parser, ParserDeleter> parser(cmark_parser_new(options));
    if (!parser) throw std::runtime_error("Markdown converter unavailable");
    for (const char* name : {"table", "strikethrough", "autolink", "tasklist", "tagfilter"}) {
        attachExtension(parser.get(), name);
    }
    cmark_parser_feed(parser.get(), markdown.data(), markdown.size());
    std::unique_ptr<cmark_node, NodeDeleter> document(cmark_parser_finish(parser.get()));
    if (!document) throw std::runtime_error("Markdown converter failed");

    char* html = cmark_render_html(document.get(), options,
                                   cmark_parser_get_syntax_extensions(parser.get()));
    if (!html) throw std::runtime_error("Markdown converter failed");
    std::string result(html);
    std::free(html);
    return result;
}

std::string HtmlChatWriter::render(const std::vector<Message>& messages) {
    std::string page(head);
    page += markdownToHtml(MarkdownChatWriter::render(messages));
    page += tail;
    return page;
}

}  // namespace folvane
