#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "conversation/ChatExportFormat.h"
#include "store/Message.h"

namespace folvane {

// Saving a chat's messages in one of the export formats.
class ChatExporter {
  public:
    // "chat-" and a new lower-case UUID, without extension: every call differs.
    static std::string defaultFileName();

    // The file's bytes for the messages as they stand.
    static std::string render(ChatExportFormat format, const std::vector<Message>& messages);

    // Writes the file atomically (a temporary file renamed into place). Throws
    // std::runtime_error with the path and the system's reason; the window's
    // export drops such a failure, the command line reports it.
    static void write(ChatExportFormat format, const std::vector<Message>& messages,
                      const std::filesystem::path& path);
};

}  // namespace folvane
