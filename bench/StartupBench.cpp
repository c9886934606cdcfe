// Start-up: from starting `folvane` (offscreen, a throwaway data folder,
// FOLVANE_EXIT_AFTER_FIRST_PAINT=1) to the start window's first paint,
// against a bare Qt window with one web view painting an empty page, both
// started the same way in the same run. Each is started five times in turn;
// the medians are compared.
#include <QCoreApplication>
#include <algorithm>
#include <cstdio>
#include <vector>

#include "support/ChildRun.h"

using namespace folvane::bench;

namespace {

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? -1 : values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QProcessEnvironment hook;
    hook.insert("FOLVANE_EXIT_AFTER_FIRST_PAINT", "1");
    std::vector<double> bare, folvane;
    for (int round = 0; round < 5; ++round) {
        {
            ChildRun run("BareWebWindow", {});
            bare.push_back(run.waitForLine("painted"));
        }
        {
            ChildRun run("folvane", {}, hook);
            folvane.push_back(run.waitForLine("first paint"));
        }
    }
    if (std::count(bare.begin(), bare.end(), -1.0) ||
        std::count(folvane.begin(), folvane.end(), -1.0)) {
        std::printf("start: a program did not report its first paint\n");
        return 1;
    }
    const double b = median(bare), f = median(folvane);
    std::printf(
        "start: folvane's start window %.1f ms, bare web window %.1f ms (medians of 5), ratio "
        "%.2f (goal: at most 2)\n",
        f, b, f / b);
    return 0;
}
