#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace folvane {

// Why a screenshot cannot be asked about, in the words of the alert.
struct ScreenCaptureAlert {
    std::string title;
    std::string text;

    bool operator==(const ScreenCaptureAlert&) const = default;
};

// A question about a screenshot goes to OpenAI's vision model, so only a chat
// on the built-in OpenAI route may take one. `provider` is the chat's custom
// model's provider, nothing for the built-in route. Nothing when the capture
// may go ahead (an empty key on the built-in route included: that request
// fails later with the provider's own words).
std::optional<ScreenCaptureAlert> screenCaptureAlert(std::optional<std::string_view> provider,
                                                     bool openAIKeyEmpty);

// Where a screenshot taken at `time` is kept: the program's data directory,
// "Folvane_-<dated stem>.png". Its content is JPEG; readers go by the content.
std::filesystem::path screenshotFilePath(const std::filesystem::path& dataDirectory,
                                         std::chrono::system_clock::time_point time);

}  // namespace folvane
