#pragma once

#include <map>
#include <string>
#include <vector>

namespace folvane::test {

struct CliResult {
    int exitCode = -1;
    std::string out;
    std::string err;
};

// Runs the built folvane-cli with the arguments, the given extra environment
// variables and text on its standard input, and waits for it; in the given
// working directory when one is named.
CliResult runCli(const std::vector<std::string>& args,
                 const std::map<std::string, std::string>& environment = {},
                 const std::string& input = "", const std::string& workingDirectory = "");

}  // namespace folvane::test
