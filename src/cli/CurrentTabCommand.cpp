#include <chrono>
#include <cstdlib>
#include <ostream>

#include "cli/CliArguments.h"
#include "conversation/BrowserTabOpener.h"
#include "conversation/ChatListViewModel.h"
#include "platform/FrontmostWindow.h"

namespace folvane {

namespace {

std::filesystem::path homeFolder() {
    const char* home = std::getenv("HOME");
    if (home == nullptr || *home == '\0') throw std::runtime_error("HOME is not set.");
    return home;
}

int report(CliContext& context, const BrowserTabError& error) {
    context.err() << error.title() << ": " << error.what() << '\n';
    return 1;
}

}  // namespace

// current-tab [--browser NAME] [--profile DIR] [--open]: the browser in front
// (or the one named), its current tab's URL and whether that serves a PDF;
// with --open the whole fetch, printing the new chat's id.
int runCurrentTabCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    const bool open = takeFlag(args, "--open");
    const auto browserName = takeOption(args, "--browser");
    const auto profileOption = takeOption(args, "--profile");
    expectNoMoreArguments(args, 0);
    std::optional<std::filesystem::path> profile;
    if (profileOption) profile = std::filesystem::absolute(*profileOption);

    const auto home = homeFolder();
    std::optional<FrontmostWindow> window;
    std::optional<SupportedBrowser> browser;
    if (browserName) {
        browser = SupportedBrowser::fromName(*browserName, home);
        if (!browser) throw UsageError("Unknown browser: " + *browserName);
    } else {
        window = FrontmostWindow::read();
    }

    std::optional<int64_t> chatId;
    bool finished = false;
    bool failed = false;
    BrowserTabOpener::Callbacks callbacks;
    callbacks.openFile = [&context](const std::string& fileUrl) {
        return context.core().fileOpener().openFiles({fileUrl});
    };
    callbacks.alert = [&context, &failed](const std::string& title, const std::string& text) {
        context.err() << title << ": " << text << '\n';
        failed = true;
    };
    callbacks.finished = [&](std::optional<int64_t> id) {
        chatId = id;
        finished = true;
    };
    BrowserTabOpener opener(*context.core().http(), context.mainQueue(), home, callbacks);

    if (open) {
        if (browser) {
            opener.start(*browser, profile);
        } else {
            opener.start(window, profile);
        }
        context.mainQueue().runUntil([&finished] { return finished; }, std::chrono::minutes(30));
        if (!chatId) return 1;
        context.out() << *chatId << '\n';
        return failed ? 1 : 0;
    }

    try {
        if (!browser) browser = opener.browserOf(window);
        context.out() << "Browser: " << browser->name << '\n';
        const std::string url =
            opener.currentURL(*browser, window ? window->title : std::string(), profile);
        context.out() << "URL: " << url << '\n';
        opener.expectPdf(url);
        context.out() << "PDF: yes\n";
        return 0;
    } catch (const BrowserTabError& error) {
        return report(context, error);
    }
}

}  // namespace folvane
