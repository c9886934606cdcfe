#include "platform/SupportedBrowser.h"

#include <algorithm>
#include <cctype>

#include "platform/FrontmostWindow.h"

namespace folvane {

namespace {

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return text;
}

}  // namespace

std::optional<SupportedBrowser> SupportedBrowser::fromName(const std::string& name,
                                                           const std::filesystem::path& home) {
    const std::string key = lowered(name);
    const auto config = home / ".config";
    if (key == "firefox" || key == "firefox-esr" || key == "navigator") {
        return SupportedBrowser{
            Family::firefox,
            "Firefox",
            {home / ".mozilla/firefox", home / "snap/firefox/common/.mozilla/firefox",
             home / ".var/app/org.mozilla.firefox/.mozilla/firefox"}};
    }
    if (key == "chromium" || key == "chromium-browser") {
        return SupportedBrowser{Family::chromium,
                                "Chromium",
                                {config / "chromium", home / "snap/chromium/common/chromium",
                                 home / ".var/app/org.chromium.Chromium/config/chromium"}};
    }
    if (key == "google-chrome" || key == "google-chrome-stable") {
        return SupportedBrowser{Family::chromium, "Google Chrome", {config / "google-chrome"}};
    }
    if (key == "brave-browser") {
        return SupportedBrowser{
            Family::chromium, "Brave", {config / "BraveSoftware/Brave-Browser"}};
    }
    if (key == "microsoft-edge" || key == "microsoft-edge-stable") {
        return SupportedBrowser{Family::chromium, "Microsoft Edge", {config / "microsoft-edge"}};
    }
    if (key == "vivaldi-stable" || key == "vivaldi") {
        return SupportedBrowser{Family::chromium, "Vivaldi", {config / "vivaldi"}};
    }
    return std::nullopt;
}

std::optional<SupportedBrowser> SupportedBrowser::fromWindow(const FrontmostWindow& window,
                                                             const std::filesystem::path& home) {
    // Firefox's windows are ("Navigator", "firefox"); Chromium's are
    // ("chromium", "Chromium"), or for a second profile ("chromium (...)", ...).
    if (auto browser = fromName(window.className, home)) return browser;
    std::string instance = window.instanceName;
    if (const size_t space = instance.find(' '); space != std::string::npos) instance.resize(space);
    if (lowered(instance) == "navigator") return std::nullopt;  // a Navigator of another maker
    return fromName(instance, home);
}

}  // namespace folvane
