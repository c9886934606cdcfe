// folvane-cli prompts: the prompt library, through the same PromptListViewModel
// as the settings table and the picker beside the message box.

#include <charconv>
#include <chrono>
#include <iomanip>
#include <ostream>
#include <set>
#include <stdexcept>
#include <string>

#include "cli/CliArguments.h"
#include "conversation/PromptDragPayload.h"
#include "conversation/PromptListViewModel.h"
#include "conversation/PromptPicker.h"
#include "conversation/PromptSort.h"

namespace folvane {
namespace {

namespace input = prompt_list_input;

constexpr const char* promptsUsage =
    "Usage: folvane-cli prompts list [--json] [--sort name|prompt|enable|sortOrder] "
    "[--descending]\n"
    "       folvane-cli prompts add NAME TEXT\n"
    "       folvane-cli prompts edit ID [--name NAME] [--text TEXT] [--enable | --disable]\n"
    "       folvane-cli prompts duplicate ID\n"
    "       folvane-cli prompts remove ID...\n"
    "       folvane-cli prompts move ID POSITION      (0: first)\n"
    "       folvane-cli prompts find QUERY [--json]";

constexpr std::chrono::seconds storeTimeout{60};

// The list as the command line drives it: synced once, and each input's store
// work waited for, its failure thrown with the user's words.
class CliPromptList {
  public:
    explicit CliPromptList(CliContext& context)
        : context_(context), list_(context.core().promptList()) {
        send(input::Sync{});
    }

    PromptListViewModel& viewModel() { return list_; }
    const std::vector<Prompt>& prompts() const { return list_.state().allPrompts; }

    void send(PromptListInput in) {
        list_.trigger(std::move(in));
        if (!context_.mainQueue().runUntil([this] { return !list_.isWorking(); }, storeTimeout))
            throw std::runtime_error("The prompt library did not answer in time.");
        if (list_.state().alert) throw std::runtime_error(*list_.state().alert);
    }

    const Prompt& find(int64_t id) const {
        for (const auto& prompt : prompts()) {
            if (prompt.id == id) return prompt;
        }
        throw std::runtime_error("There is no prompt with the id " + std::to_string(id) + ".");
    }

  private:
    CliContext& context_;
    PromptListViewModel& list_;
};

// At most width characters on one line, "..." marking a cut.
std::string oneLine(const std::string& text, size_t width) {
    std::string line;
    size_t characters = 0;
    for (size_t at = 0; at < text.size();) {
        size_t length = 1;
        while (at + length < text.size() && (uint8_t(text[at + length]) & 0xC0) == 0x80) ++length;
        if (++characters > width) {
            line += "...";
            break;
        }
        const char c = text[at];
        line += c == '\n' || c == '\r' || c == '\t' ? std::string(" ") : text.substr(at, length);
        at += length;
    }
    return line;
}

void print(std::ostream& out, const std::vector<Prompt>& prompts, bool json) {
    if (json) {
        for (const auto& prompt : prompts) out << encodePromptPayload(prompt) << '\n';
        return;
    }
    out << std::left << std::setw(6) << "ID" << std::setw(4) << "ON" << std::setw(7) << "ORDER"
        << std::setw(26) << "NAME"
        << "PROMPT\n";
    for (const auto& prompt : prompts) {
        out << std::left << std::setw(6) << prompt.id << std::setw(4)
            << (prompt.enable ? "yes" : "no") << std::setw(7) << prompt.sortOrder << std::setw(26)
            << oneLine(prompt.name, 24) << oneLine(prompt.prompt, 60) << '\n';
    }
}

int parsePosition(const std::string& text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < 0)
        throw UsageError("Invalid position: " + text + " (0 is the first)");
    return value;
}

int list(CliContext& context, CliArguments args) {
    const bool json = takeFlag(args, "--json");
    const bool descending = takeFlag(args, "--descending");
    const auto sortKey = takeOption(args, "--sort");
    expectNoMoreArguments(args, 0);
    std::optional<PromptSortKey> key;
    if (sortKey) {
        key = promptSortKeyFromRaw(*sortKey);
        if (!key)
            throw UsageError("Unknown sort column: " + *sortKey +
                             " (name, prompt, enable or sortOrder)");
    } else if (descending) {
        throw UsageError("--descending goes with --sort");
    }
    CliPromptList library(context);
    auto prompts = library.prompts();
    if (key) sortPrompts(prompts, *key, !descending);
    print(context.out(), prompts, json);
    return 0;
}

int add(CliContext& context, const CliArguments& args) {
    if (args.size() != 2) throw UsageError("Usage: folvane-cli prompts add NAME TEXT");
    CliPromptList library(context);
    const Prompt added = library.viewModel().addPrompt(args[0], args[1]);
    context.out() << added.id << '\n';
    return 0;
}

int edit(CliContext& context, CliArguments args) {
    const auto name = takeOption(args, "--name");
    const auto text = takeOption(args, "--text");
    const bool enable = takeFlag(args, "--enable");
    const bool disable = takeFlag(args, "--disable");
    if (args.empty()) throw UsageError("prompts edit needs a prompt id");
    const int64_t id = parseId(args[0], "prompt id");
    expectNoMoreArguments(args, 1);
    if (enable && disable) throw UsageError("--enable and --disable exclude each other");
    if (!name && !text && !enable && !disable)
        throw UsageError("prompts edit needs --name, --text, --enable or --disable");

    CliPromptList library(context);
    Prompt edited = library.find(id);
    if (name || text) {
        if (name) edited.name = *name;
        if (text) edited.prompt = *text;
        library.send(input::UpdatePrompt{id, edited});
    }
    if (enable || disable) library.send(input::UpdatePromptEnable{id, enable});
    return 0;
}

int duplicate(CliContext& context, const CliArguments& args) {
    if (args.size() != 1) throw UsageError("Usage: folvane-cli prompts duplicate ID");
    const int64_t id = parseId(args[0], "prompt id");
    CliPromptList library(context);
    const Prompt copy = library.viewModel().duplicatePrompt(library.find(id));
    context.out() << copy.id << '\n';
    return 0;
}

int remove(CliContext& context, const CliArguments& args) {
    if (args.empty()) throw UsageError("Usage: folvane-cli prompts remove ID...");
    std::set<int64_t> ids;
    for (const auto& arg : args) ids.insert(parseId(arg, "prompt id"));
    CliPromptList library(context);
    for (int64_t id : ids) library.find(id);
    library.send(input::RemovePrompts{ids});
    return 0;
}

int move(CliContext& context, const CliArguments& args) {
    if (args.size() != 2) throw UsageError("Usage: folvane-cli prompts move ID POSITION");
    const int64_t id = parseId(args[0], "prompt id");
    const int position = parsePosition(args[1]);
    CliPromptList library(context);
    library.find(id);
    library.send(input::UpdatePromptSortOrder{id, position});
    print(context.out(), library.prompts(), false);
    return 0;
}

int find(CliContext& context, CliArguments args) {
    const bool json = takeFlag(args, "--json");
    if (args.size() != 1) throw UsageError("Usage: folvane-cli prompts find QUERY [--json]");
    CliPromptList library(context);
    print(context.out(), promptsForPicker(library.prompts(), args[0]), json);
    return 0;
}

}  // namespace

int runPromptsCommand(CliContext& context, const CliArguments& arguments) {
    if (arguments.empty()) throw UsageError(promptsUsage);
    const std::string action = arguments[0];
    const CliArguments rest(arguments.begin() + 1, arguments.end());
    if (action == "list") return list(context, rest);
    if (action == "add") return add(context, rest);
    if (action == "edit") return edit(context, rest);
    if (action == "duplicate") return duplicate(context, rest);
    if (action == "remove") return remove(context, rest);
    if (action == "move") return move(context, rest);
    if (action == "find") return find(context, rest);
    throw UsageError("Unknown prompts action: " + action + "\n" + promptsUsage);
}

}  // namespace folvane
