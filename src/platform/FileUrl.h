#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace folvane {

// "file:///home/a/My%20Paper.pdf" for "/home/a/My Paper.pdf". The path is made
// absolute; bytes outside the characters a URL path allows are percent-encoded.
std::string fileUrlFromPath(std::string_view path);

// The path of a file URL, percent-decoded; nullopt when the text is not a
// file URL with an absolute path.
std::optional<std::string> pathFromFileUrl(std::string_view url);

// The last path component without its extension: the title of a chat.
std::string fileStem(std::string_view pathOrUrl);

}  // namespace folvane
