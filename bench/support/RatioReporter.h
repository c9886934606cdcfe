#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace folvane::bench {

// The console report, keeping each run's real time in seconds so that a
// program can print its ratios against the baseline of the same run at the end.
class RatioReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const auto& run : runs) {
            seconds_[run.benchmark_name()] =
                run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
        }
        ConsoleReporter::ReportRuns(runs);
    }

    // The seconds of the run with this name, or else of the first whose name
    // starts with it ("BM_Scan" finds "BM_Scan/768/real_time"); 0 when none ran.
    double seconds(const std::string& name) const {
        if (const auto found = seconds_.find(name); found != seconds_.end()) return found->second;
        for (const auto& [runName, value] : seconds_) {
            if (runName.starts_with(name)) return value;
        }
        return 0;
    }

  private:
    std::map<std::string, double> seconds_;
};

}  // namespace folvane::bench
