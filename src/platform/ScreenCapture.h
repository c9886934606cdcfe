#pragma once

#include <filesystem>

namespace folvane {

// The desktop's interactive screenshot: the user picks an area of the screen
// and the picture is written, as JPEG whatever the file's extension, to the
// given file. Runs on the main thread and returns when the user is done.
class ScreenCapture {
  public:
    virtual ~ScreenCapture() = default;

    // True only when a picture was written to `file`; a cancelled selection,
    // or a tool that could not run, leaves no file and returns false.
    virtual bool captureScreenshot(const std::filesystem::path& file) = 0;
};

}  // namespace folvane
