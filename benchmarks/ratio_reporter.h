// Prints each figure as a ratio to its floor.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace qxbench {

// A benchmark pair is named "Job/floor" and "Job/library"; the ratio is library's median over floor's. A
// single figure is a counter of a benchmark that is not named so.
struct Budget {
    const char* job;      // "Pump", or benchmark and counter: "Memory:MiB"
    double limit;         // the ratio or figure that must not be passed
    const char* meaning;  // one line for the reader
};

// Shows the usual table of the runs, then the ratios with their budgets.
class RatioReporter : public benchmark::ConsoleReporter {
  public:
    explicit RatioReporter(std::vector<Budget> limits);
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

  private:
    double Median(const std::string& name) const;

    const std::vector<Budget> budgets;
    std::map<std::string, std::vector<double>> seconds;
    std::map<std::string, double> counters;
};

}  // namespace qxbench
