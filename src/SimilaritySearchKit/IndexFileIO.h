#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

// File helpers of the vector stores and the CSV export. All throw
// std::runtime_error with the path and the system's reason.
namespace folvane::indexfile {

std::string read(const std::filesystem::path& path);
// Writes to a temporary file beside the target, then renames it into place.
void writeAtomically(const std::filesystem::path& path, std::string_view bytes);
// The entries of a directory whose extension is `extension` (".json"), sorted by path.
std::vector<std::filesystem::path> listWithExtension(const std::filesystem::path& directory,
                                                     std::string_view extension);

}  // namespace folvane::indexfile
