#pragma once

#include <filesystem>
#include <string>

namespace folvane::test {

// The bytes of a mozLz4 file, as Firefox writes its session: "mozLz40\0",
// the text's size (32 bits, little-endian) and one LZ4 block.
std::string encodeMozLz4(const std::string& text);

// A Firefox profile folder whose saved session has one window showing the
// tab of this URL and title, in sessionstore-backups/recovery.jsonlz4.
void writeFirefoxSession(const std::filesystem::path& profile, const std::string& url,
                         const std::string& title = "Document");

}  // namespace folvane::test
