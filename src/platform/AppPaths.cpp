#include "platform/AppPaths.h"

#include <cstdlib>
#include <filesystem>

namespace folvane {

namespace {

std::string baseDirectory(const char* variable, const char* fallbackUnderHome) {
    if (const char* value = std::getenv(variable); value && *value == '/') return value;
    const char* home = std::getenv("HOME");
    return std::string(home && *home ? home : "/tmp") + "/" + fallbackUnderHome;
}

std::string executableResourceDirectory() {
    std::error_code error;
    const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return "share/folvane";
    return (executable.parent_path().parent_path() / "share" / "folvane").string();
}

}  // namespace

AppPaths AppPaths::standard() {
    AppPaths paths;
    paths.dataDirectory = baseDirectory("XDG_DATA_HOME", ".local/share") + "/" + bundleIdentifier;
    paths.configDirectory = baseDirectory("XDG_CONFIG_HOME", ".config") + "/" + bundleIdentifier;
    paths.resourceDirectory = executableResourceDirectory();
    paths.documentsDirectory = baseDirectory("XDG_DOCUMENTS_DIR", "Documents");
    return paths;
}

}  // namespace folvane
