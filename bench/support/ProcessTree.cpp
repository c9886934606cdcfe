#include "support/ProcessTree.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

namespace folvane::bench {

namespace {

// The parent of each running process.
std::multimap<pid_t, pid_t> childrenByParent() {
    std::multimap<pid_t, pid_t> children;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const auto name = entry.path().filename().string();
        if (name.find_first_not_of("0123456789") != std::string::npos) continue;
        std::ifstream stat(entry.path() / "stat");
        std::string line;
        if (!std::getline(stat, line)) continue;
        // "pid (command) state ppid ...": the command may hold spaces and
        // parentheses, so read after the last ')'.
        const auto close = line.rfind(')');
        if (close == std::string::npos) continue;
        std::istringstream rest(line.substr(close + 1));
        char state = 0;
        pid_t parent = 0;
        if (rest >> state >> parent) children.emplace(parent, std::stoi(name));
    }
    return children;
}

long vmRssKiB(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string key;
    while (status >> key) {
        if (key == "VmRSS:") {
            long kib = 0;
            status >> kib;
            return kib;
        }
        status.ignore(1 << 20, '\n');
    }
    return 0;
}

}  // namespace

std::vector<pid_t> processTree(pid_t root) {
    const auto children = childrenByParent();
    std::vector<pid_t> tree{root};
    for (size_t i = 0; i < tree.size(); ++i) {
        const auto [first, last] = children.equal_range(tree[i]);
        for (auto it = first; it != last; ++it) tree.push_back(it->second);
    }
    return tree;
}

long residentKiB(pid_t root) {
    long sum = 0;
    for (pid_t pid : processTree(root)) sum += vmRssKiB(pid);
    return sum;
}

}  // namespace folvane::bench
