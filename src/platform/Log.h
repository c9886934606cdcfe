#pragma once

#include <functional>
#include <string_view>

namespace folvane {

// Plain log lines, no levels and no format. They go to standard output unless
// the program's entry point sends them elsewhere (the CLI keeps its standard
// output for results). This sink is the one piece of process-wide state in the
// core: it is set once by main and read by everything.
using LogSink = std::function<void(std::string_view line)>;

void setLogSink(LogSink sink);
void log(std::string_view line);

}  // namespace folvane
