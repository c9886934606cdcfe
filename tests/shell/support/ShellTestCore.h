#pragma once

#include <memory>

#include "conversation/AppCore.h"
#include "platform/AppPaths.h"
#include "runtime/MainQueue.h"
#include "shell/app/QtMainQueue.h"
#include "shell/app/WindowManager.h"
#include "shell/chat/transcript/TranscriptPagePool.h"
#include "support/TempDir.h"

namespace folvane::test {

// A core over a fresh data and settings folder (the seed database with its
// demo chat), posting to the Qt event loop, with a window manager over it.
struct ShellTestCore {
    TempDir dir;
    QtMainQueue mainQueue;
    AppCore core{AppPaths{dir / "data", dir / "config", resourceDir()}, mainQueue};
    TranscriptPagePool transcriptPages;
    WindowManager windows{core, transcriptPages};
};

}  // namespace folvane::test
