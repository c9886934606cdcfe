#pragma once

#include <QString>
#include <functional>

#include "conversation/ChatExportFormat.h"
#include "conversation/ChatListViewModel.h"

class QWidget;

namespace folvane {

// Saving a chat as Markdown, HTML or JSON: a save panel of its own with the
// format's title and file type and a fresh "chat-…" name; on confirmation the
// chat's messages as they stand then are written through the core's exporter
// and the file is shown in the file manager. A cancelled panel writes nothing;
// a failed write is dropped without a word.
class ExportPanel {
  public:
    // What the save panel shows.
    struct Request {
        QString title;
        QString defaultName;  // without extension
        QString nameFilter;   // e.g. "Markdown (*.md)"
        QString suffix;       // added to a name given without one
    };
    // Shows the panel; `chosen` runs with the confirmed path, and never when
    // the user cancels. Tests answer at once.
    using ChooseSavePath = std::function<void(QWidget* parent, const Request& request,
                                              std::function<void(const QString& path)> chosen)>;
    // Shows the written file (a file URL) in the file manager.
    using Reveal = std::function<void(const QString& fileUrl)>;

    // The panel of a format, with a new default name each time.
    static Request request(ChatExportFormat format);
    static void open(QWidget* parent, ChatDetailRef chat, ChatExportFormat format,
                     const ChooseSavePath& choose, Reveal reveal);
    // The desktop's save dialog, modeless.
    static void chooseWithDialog(QWidget* parent, const Request& request,
                                 std::function<void(const QString& path)> chosen);
};

}  // namespace folvane
