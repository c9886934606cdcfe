#include <filesystem>
#include <ostream>

#include "chat/AppChatService.h"
#include "cli/CliArguments.h"
#include "platform/PocketsphinxRecognizer.h"

namespace folvane {

int runTranscribeCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    const bool onDevice = takeFlag(args, "--on-device");
    if (args.empty()) throw UsageError("transcribe needs an audio file");
    expectNoMoreArguments(args, 1);
    const std::filesystem::path file = args[0];
    if (!std::filesystem::is_regular_file(file)) {
        throw std::runtime_error("No file at " + file.string() + ".");
    }
    const std::string text =
        onDevice ? PocketsphinxRecognizer().recognize(file) : context.service().transcribe(file);
    context.out() << text << '\n';
    return 0;
}

}  // namespace folvane
