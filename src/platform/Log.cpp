#include "platform/Log.h"

#include <cstdio>
#include <mutex>

namespace folvane {
namespace {

std::mutex sinkMutex;
LogSink currentSink;

}  // namespace

void setLogSink(LogSink sink) {
    std::lock_guard lock(sinkMutex);
    currentSink = std::move(sink);
}

void log(std::string_view line) {
    std::lock_guard lock(sinkMutex);
    if (currentSink) {
        currentSink(line);
        return;
    }
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

}  // namespace folvane
