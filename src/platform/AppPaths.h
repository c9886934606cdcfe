#pragma once

#include <string>

namespace folvane {

// Where the program keeps its files, named with the bundle identifier:
//   data:     $XDG_DATA_HOME/co.tessavel.Folvane   (default ~/.local/share/...)
//   settings: $XDG_CONFIG_HOME/co.tessavel.Folvane (default ~/.config/...)
struct AppPaths {
    static constexpr const char* bundleIdentifier = "co.tessavel.Folvane";

    std::string dataDirectory;
    std::string configDirectory;
    std::string resourceDirectory;  // read-only: seed database, migrations, demo document
    // The user's documents: $XDG_DOCUMENTS_DIR, else ~/Documents. Last and
    // defaulted, so that {data, config, resources} still makes a whole value.
    std::string documentsDirectory = {};

    // From the environment, with the resources beside the running executable
    // (bin/../share/folvane).
    static AppPaths standard();
};

}  // namespace folvane
