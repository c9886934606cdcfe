// folvane-cli model download

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <ostream>
#include <string>

#include "SimilaritySearchKit/ModelDownload.h"
#include "cli/CliContext.h"
#include "store/AppPreferences.h"

namespace folvane {
namespace {

// The least time between two progress lines.
constexpr auto progressInterval = std::chrono::milliseconds(500);

std::string megabytes(double bytes) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f MB", bytes / 1e6);
    return text;
}

std::string progressLine(const ModelDownloadProgress& progress) {
    std::string line = "Downloaded " + megabytes(static_cast<double>(progress.bytesDone));
    if (progress.totalBytes && *progress.totalBytes > 0) {
        char percent[16];
        std::snprintf(percent, sizeof percent, " (%.0f%%)",
                      100.0 * static_cast<double>(progress.bytesDone) /
                          static_cast<double>(*progress.totalBytes));
        line += " of " + megabytes(static_cast<double>(*progress.totalBytes)) + percent;
    }
    line += ", " + megabytes(progress.bytesPerSecond) + "/s";
    if (progress.secondsLeft)
        line +=
            ", " + std::to_string(static_cast<long long>(*progress.secondsLeft + 0.5)) + " s left";
    return line;
}

}  // namespace

int runModelCommand(CliContext& context, const CliArguments& args) {
    if (args.size() != 1 || args[0] != "download")
        throw UsageError("Usage: folvane-cli model download");

    const std::filesystem::path models =
        std::filesystem::path(context.paths().dataDirectory) / "models";
    const bool digestWasSet = !context.preferences().embeddingModelSHA256().empty();
    auto lastLine = std::chrono::steady_clock::time_point{};
    std::optional<ModelDownloadProgress> unshown;
    auto report = [&](const ModelDownloadProgress& progress) {
        const auto now = std::chrono::steady_clock::now();
        unshown = progress;
        if (now - lastLine < progressInterval) return;
        lastLine = now;
        unshown.reset();
        context.err() << progressLine(progress) << '\n' << std::flush;
    };
    const ModelDownloadResult result =
        downloadEmbeddingModel(context.preferences(), context.core().http(), models, report);
    // The last word on the transfer: where it ended.
    if (unshown) context.err() << progressLine(*unshown) << '\n';
    if (!digestWasSet)
        context.err() << "Stored the digest in the setting embeddingModelSHA256; later downloads "
                         "must match it.\n";
    context.out() << result.path.string() << '\n' << "SHA-256 " << result.sha256 << '\n';
    return 0;
}

}  // namespace folvane
