#include <filesystem>
#include <optional>
#include <ostream>

#include "cli/CliArguments.h"
#include "cli/CliChatList.h"
#include "conversation/ChatExporter.h"

namespace folvane {

int runExportCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    const auto formatName = takeOption(args, "--format");
    auto output = takeOption(args, "-o");
    if (!output) output = takeOption(args, "--output");
    if (args.empty()) throw UsageError("export needs a chat id");
    expectNoMoreArguments(args, 1);
    const int64_t chatId = parseId(args[0], "chat id");
    if (!formatName) throw UsageError("export needs --format markdown, html or json");
    const auto format = chatExportFormatFromRaw(*formatName);
    if (!format) throw UsageError("Unknown export format: " + *formatName);

    CliChatList list(context);
    const auto chat = list.chat(chatId);

    std::filesystem::path path = output
                                     ? std::filesystem::path(*output)
                                     : std::filesystem::path(ChatExporter::defaultFileName() + "." +
                                                             std::string(fileExtension(*format)));
    path = std::filesystem::absolute(path);
    ChatExporter::write(*format, chat.state().messages, path);
    context.out() << path.string() << '\n';
    return 0;
}

}  // namespace folvane
