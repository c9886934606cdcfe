#include "speech/ScreenCaptureGate.h"

#include "providers/ModelNames.h"
#include "speech/DatedFileName.h"

namespace folvane {

std::optional<ScreenCaptureAlert> screenCaptureAlert(std::optional<std::string_view> provider,
                                                     bool openAIKeyEmpty) {
    if (provider.value_or(providers::openAI) == providers::openAI) return std::nullopt;
    if (openAIKeyEmpty) {
        return ScreenCaptureAlert{"OpenAI API Key Required",
                                  "This feature requires GPT 4 Vision. Please set up your OpenAI "
                                  "API Key in [Settings] > [Models]"};
    }
    return ScreenCaptureAlert{"OpenAI Required",
                              "This feature requires GPT 4 Vision. Please change the API provider "
                              "to OpenAI to continue"};
}

std::filesystem::path screenshotFilePath(const std::filesystem::path& dataDirectory,
                                         std::chrono::system_clock::time_point time) {
    return dataDirectory / ("Folvane_-" + datedFileStem(time) + ".png");
}

}  // namespace folvane
