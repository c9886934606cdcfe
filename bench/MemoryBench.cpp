// Memory: the resident memory (VmRSS summed over the program and its web
// engine processes) of one window with a 500-message transcript, against a
// bare Qt window with one web view on an empty page, in the same run. Each is
// read once its page is painted and two seconds have passed.
#include <QCoreApplication>
#include <QThread>
#include <cstdio>

#include "support/ChildRun.h"
#include "support/ProcessTree.h"

using namespace folvane::bench;

namespace {

// KiB of the program's tree once settled; -1 when it never painted.
long settledKiB(const QString& program) {
    ChildRun run(program, {QStringLiteral("--hold")});
    if (run.waitForLine("painted") < 0) return -1;
    QThread::msleep(2000);
    return residentKiB(static_cast<pid_t>(run.pid()));
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const long bare = settledKiB("BareWebWindow");
    const long transcript = settledKiB("TranscriptWindow");
    if (bare <= 0 || transcript <= 0) {
        std::printf("memory: a program did not report its first paint\n");
        return 1;
    }
    std::printf(
        "memory: 500-message transcript window %.1f MiB, bare web window %.1f MiB, ratio %.2f "
        "(goal: at most 1.5)\n",
        transcript / 1024.0, bare / 1024.0, static_cast<double>(transcript) / bare);
    return 0;
}
