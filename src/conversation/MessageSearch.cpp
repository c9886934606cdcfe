#include "conversation/MessageSearch.h"

#include <unicode/unistr.h>

namespace folvane {

namespace {

std::string lowered(const std::string& text) {
    std::string result;
    icu::UnicodeString::fromUTF8(text).toLower().toUTF8String(result);
    return result;
}

std::string marked(const std::string& content, const std::string& keyword,
                   const std::string& mark) {
    std::string result;
    size_t from = 0;
    for (size_t at = content.find(keyword); at != std::string::npos;
         at = content.find(keyword, from)) {
        result.append(content, from, at - from);
        result += mark + keyword + mark;
        from = at + keyword.size();
    }
    result.append(content, from, std::string::npos);
    return result;
}

}  // namespace

std::vector<Message> searchMessages(const std::vector<Message>& messages,
                                    const std::string& keyword) {
    std::vector<Message> results;
    if (keyword.empty()) return results;
    const std::string needle = lowered(keyword);
    for (const auto& message : messages) {
        if (lowered(message.content).find(needle) == std::string::npos) continue;
        Message copy = message;
        copy.content = marked(message.content, keyword, message.role == "user" ? "**" : "==");
        results.push_back(std::move(copy));
    }
    return results;
}

}  // namespace folvane
