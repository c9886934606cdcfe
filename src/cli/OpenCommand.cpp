#include <fstream>
#include <ostream>

#include "chat/AppChatService.h"
#include "cli/CliArguments.h"
#include "platform/FileBookmark.h"
#include "platform/FileUrl.h"

namespace folvane {

namespace {

// A PDF starts with "%PDF-", allowing for a little junk before it.
void expectPdf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw FileError("The file “" + path + "” couldn’t be opened.");
    std::string head(1024, '\0');
    in.read(head.data(), std::streamsize(head.size()));
    head.resize(size_t(in.gcount()));
    if (head.find("%PDF-") == std::string::npos) {
        throw FileError("The file “" + path + "” is not a PDF document.");
    }
}

}  // namespace

int runOpenCommand(CliContext& context, const CliArguments& args) {
    if (args.empty()) throw UsageError("open needs at least one PDF file");
    std::vector<std::string> urls;
    for (const auto& path : args) {
        FileBookmark::make(path);  // exists and is a regular file, or a clear error
        expectPdf(path);
        urls.push_back(fileUrlFromPath(path));
    }
    const auto chat = context.service().createConversation(urls);
    context.out() << chat.id << '\n';
    return 0;
}

}  // namespace folvane
