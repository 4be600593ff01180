#include "benchmarks/ratio_reporter.h"

#include <algorithm>
#include <cstdio>

namespace qxbench {

namespace {

// Figures come from clocks and samples of memory: a thousandth more is noise.
bool Within(double figure, double limit) {
    return figure <= limit * 1.001;
}

}  // namespace

RatioReporter::RatioReporter(std::vector<Budget> limits)
    : benchmark::ConsoleReporter(OO_None), budgets(std::move(limits)) {}

void RatioReporter::ReportRuns(const std::vector<Run>& runs) {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
        if (run.run_type != Run::RT_Iteration)
            continue;
        const std::string& name = run.run_name.function_name;
        seconds[name].push_back(run.real_accumulated_time / static_cast<double>(run.iterations));
        for (const auto& [counter, value] : run.counters) {
            double& worst = counters[name + ":" + counter];
            worst = std::max(worst, value.value);
        }
    }
}

double RatioReporter::Median(const std::string& name) const {
    const auto found = seconds.find(name);
    if (found == seconds.end())
        return 0;
    std::vector<double> sorted = found->second;
    std::sort(sorted.begin(), sorted.end());
    return sorted[sorted.size() / 2];
}

void RatioReporter::Finalize() {
    std::printf("\n%-16s %10s %10s %8s %8s\n", "job", "floor s", "library s", "ratio", "budget");
    for (const Budget& budget : budgets) {
        const std::string job = budget.job;
        const auto counter = counters.find(job);
        if (counter != counters.end()) {
            std::printf("%-16s %10s %10s %8.2f %8.2f  %s%s\n", budget.job, "", "", counter->second,
                        budget.limit,
                        Within(counter->second, budget.limit) ? "" : "OVER BUDGET: ", budget.meaning);
            continue;
        }
        const double floor = Median(job + "/floor");
        const double library = Median(job + "/library");
        if (floor <= 0 || library <= 0)
            continue;
        const double ratio = library / floor;
        std::printf("%-16s %10.4f %10.4f %8.2f %8.2f  %s%s\n", budget.job, floor, library, ratio,
                    budget.limit, Within(ratio, budget.limit) ? "" : "OVER BUDGET: ", budget.meaning);
    }
}

}  // namespace qxbench
