#pragma once

#include <QString>

namespace folvane {

// Shows a file in the desktop's file manager, selected, through the
// org.freedesktop.FileManager1 D-Bus service; where no such service answers,
// opens the file's folder instead.
void showInFileManager(const QString& fileUrl);

}  // namespace folvane
