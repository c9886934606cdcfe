#include "platform/FirefoxSession.h"

#include <lz4.h>

#include <cstring>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

namespace folvane {

namespace {

constexpr std::string_view magic("mozLz40\0", 8);
// No saved session comes near this; a larger size is a damaged header.
constexpr uint32_t largestSession = 512u * 1024u * 1024u;

std::string trimmed(std::string text) {
    while (!text.empty() && (text.back() == '\r' || text.back() == ' ')) text.pop_back();
    return text;
}

// The URL and title of a tab's current entry ("index" counts from 1).
std::pair<std::string, std::string> currentEntry(const nlohmann::json& tab) {
    const auto& entries = tab.value("entries", nlohmann::json::array());
    if (!entries.is_array() || entries.empty()) return {};
    int64_t index = tab.value("index", int64_t(entries.size()));
    index = std::clamp<int64_t>(index, 1, int64_t(entries.size()));
    const auto& entry = entries[size_t(index - 1)];
    return {entry.value("url", ""), entry.value("title", "")};
}

// The selected tab of a window ("selected" counts from 1).
std::optional<std::pair<std::string, std::string>> selectedTab(const nlohmann::json& window) {
    const auto& tabs = window.value("tabs", nlohmann::json::array());
    if (!tabs.is_array() || tabs.empty()) return std::nullopt;
    int64_t selected = window.value("selected", int64_t(1));
    selected = std::clamp<int64_t>(selected, 1, int64_t(tabs.size()));
    auto entry = currentEntry(tabs[size_t(selected - 1)]);
    if (entry.first.empty()) return std::nullopt;
    return entry;
}

}  // namespace

std::vector<std::filesystem::path> FirefoxSession::profiles(const std::filesystem::path& root) {
    std::ifstream in(root / "profiles.ini");
    if (!in) return {};
    struct Section {
        std::string name;
        std::map<std::string, std::string> values;
    };
    std::vector<Section> sections;
    for (std::string line; std::getline(in, line);) {
        line = trimmed(line);
        if (line.empty() || line[0] == ';' || line[0] == '#') continue;
        if (line.front() == '[' && line.back() == ']') {
            sections.push_back({line.substr(1, line.size() - 2), {}});
        } else if (const size_t equals = line.find('=');
                   equals != std::string::npos && !sections.empty()) {
            sections.back().values[line.substr(0, equals)] = line.substr(equals + 1);
        }
    }
    auto resolve = [&root](const Section& section) {
        const auto path = section.values.count("Path") ? section.values.at("Path") : "";
        const bool relative =
            section.values.count("IsRelative") == 0 || section.values.at("IsRelative") != "0";
        return relative ? root / path : std::filesystem::path(path);
    };
    std::vector<std::filesystem::path> found;
    std::string installDefault;
    for (const auto& section : sections) {
        if (section.name.rfind("Install", 0) == 0 && section.values.count("Default")) {
            installDefault = section.values.at("Default");
        }
    }
    for (const auto& section : sections) {
        if (section.name.rfind("Profile", 0) != 0 || !section.values.count("Path")) continue;
        const bool isDefault = section.values.at("Path") == installDefault ||
                               (installDefault.empty() && section.values.count("Default") &&
                                section.values.at("Default") == "1");
        if (isDefault) {
            found.insert(found.begin(), resolve(section));
        } else {
            found.push_back(resolve(section));
        }
    }
    return found;
}

std::string FirefoxSession::decode(std::string_view bytes) {
    if (bytes.size() < magic.size() + 4 || bytes.substr(0, magic.size()) != magic) {
        throw std::runtime_error("The session file is not in Firefox's mozLz4 format.");
    }
    const auto* size = reinterpret_cast<const unsigned char*>(bytes.data() + magic.size());
    const uint32_t length = uint32_t(size[0]) | uint32_t(size[1]) << 8 | uint32_t(size[2]) << 16 |
                            uint32_t(size[3]) << 24;
    if (length > largestSession) throw std::runtime_error("The session file is damaged.");
    const std::string_view block = bytes.substr(magic.size() + 4);
    if (block.size() > size_t(std::numeric_limits<int>::max())) {
        throw std::runtime_error("The session file is damaged.");
    }
    std::string text(length, '\0');
    const int written =
        LZ4_decompress_safe(block.data(), text.data(), int(block.size()), int(length));
    if (written < 0) throw std::runtime_error("The session file is damaged.");
    text.resize(size_t(written));
    return text;
}

std::optional<std::string> FirefoxSession::currentTab(const std::string& sessionJson,
                                                      const std::string& windowTitle) {
    const auto session = nlohmann::json::parse(sessionJson, nullptr, false);
    if (!session.is_object()) return std::nullopt;
    const auto& windows = session.value("windows", nlohmann::json::array());
    if (!windows.is_array() || windows.empty()) return std::nullopt;
    if (!windowTitle.empty()) {
        // A window's title is its tab's title followed by " — Mozilla Firefox"
        // (or another maker's name): the longest matching tab title wins.
        std::optional<std::string> best;
        size_t bestLength = 0;
        for (const auto& window : windows) {
            const auto tab = selectedTab(window);
            if (!tab) continue;
            const std::string& title = tab->second.empty() ? tab->first : tab->second;
            if (windowTitle.rfind(title, 0) == 0 && (!best || title.size() > bestLength)) {
                best = tab->first;
                bestLength = title.size();
            }
        }
        if (best) return best;
    }
    int64_t selected = session.value("selectedWindow", int64_t(1));
    selected = std::clamp<int64_t>(selected, 1, int64_t(windows.size()));
    if (auto tab = selectedTab(windows[size_t(selected - 1)])) return tab->first;
    for (const auto& window : windows) {
        if (auto tab = selectedTab(window)) return tab->first;
    }
    return std::nullopt;
}

std::optional<std::string> FirefoxSession::currentTabOfProfile(const std::filesystem::path& profile,
                                                               const std::string& windowTitle) {
    const auto path = profile / "sessionstore-backups" / "recovery.jsonlz4";
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return currentTab(decode(bytes.str()), windowTitle);
}

}  // namespace folvane
