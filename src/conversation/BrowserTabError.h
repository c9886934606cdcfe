#pragma once

#include <stdexcept>
#include <string>

namespace folvane {

// A failure of opening the browser's tab, as the alert shows it: what() is
// the alert's text, title() its title.
class BrowserTabError : public std::runtime_error {
  public:
    BrowserTabError(std::string title, const std::string& text)
        : std::runtime_error(text), title_(std::move(title)) {}

    const std::string& title() const { return title_; }

    static BrowserTabError unsupportedBrowser() {
        return {"Unsupported Browser",
                "Folvane supports Firefox and Chromium-family browsers (Chromium, Google Chrome, "
                "Brave, Microsoft Edge, Vivaldi) only."};
    }
    static BrowserTabError noURL() {
        return {"Failed",
                "Failed to get the current URL. Please make sure you've granted required "
                "permissions."};
    }
    static BrowserTabError notPdf() {
        return {"Unsupported File Type", "Please try again with a PDF document."};
    }
    static BrowserTabError downloadFailed() {
        return {"Failed", "Failed to download the file. Please try again."};
    }

  private:
    std::string title_;
};

}  // namespace folvane
