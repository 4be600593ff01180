// Sorting row numbers by the name column, natural order.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <string>
#include <vector>

#include "benchmarks/bench_table.h"
#include "benchmarks/process_memory.h"
#include "storage/natural_compare.h"

namespace qxbench {

using namespace qxdbsqlengine;

namespace {

constexpr int NameColumn = 4;

// The consistent natural order that a sort goes by: where two texts differ inside a digit run, the whole runs
// decide.
bool NaturalLess(const std::string& a, const std::string& b, const FoldTable& fold) {
    const std::size_t common = std::min(a.size(), b.size());
    std::size_t at = 0;
    while (at < common && (a[at] == b[at] || fold[a[at]] == fold[b[at]]))
        ++at;
    if (at == common && !(at > 0 && IsDigitByte(a[at - 1])))
        return a.size() < b.size();
    std::size_t begin = at;
    while (begin > 0 && IsDigitByte(a[begin - 1]))
        --begin;
    const char* const aRun = a.data() + begin;
    const char* const bRun = b.data() + begin;
    const char* const aEnd = EndOfDigits(aRun, a.data() + a.size());
    const char* const bEnd = EndOfDigits(bRun, b.data() + b.size());
    if (aEnd != aRun && bEnd != bRun) {
        const int c = CompareDigitRuns(aRun, aEnd, bRun, bEnd, 0);
        if (c != 0)
            return c < 0;
    }
    if (at == common)
        return a.size() < b.size();
    return fold[a[at]] < fold[b[at]];
}

std::vector<std::string> Names() {
    const PlainTable& table = Plain();
    std::vector<std::string> names;
    names.reserve(TableRows);
    for (int row = 0; row < TableRows; ++row)
        names.emplace_back(table.Name(row));
    return names;
}

void SortFloor(benchmark::State& state) {
    static const std::vector<std::string> names = Names();
    const FoldTable& fold = FoldTable::Current();
    for (auto _ : state) {
        std::vector<int> rows(TableRows);
        std::iota(rows.begin(), rows.end(), 0);
        std::sort(rows.begin(), rows.end(),
                  [&](int a, int b) { return NaturalLess(names[a], names[b], fold); });
        benchmark::DoNotOptimize(rows.data());
    }
}

// Every neighbour must be in order; equal names may stand in any order.
void CheckOrder(DataStorage& store) {
    const FoldTable& fold = FoldTable::Current();
    std::string previous = store.GetString(0, 0, NameColumn);
    for (int row = 1; row < TableRows; ++row) {
        std::string name = store.GetString(0, row, NameColumn);
        if (NaturalLess(name, previous, fold))
            std::abort();
        previous = std::move(name);
    }
}

void SortLibrary(benchmark::State& state) {
    DataStorage& shared = SharedStore();
    for (auto _ : state) {
        state.PauseTiming();
        DataStorage view(shared);
        // The view's index is its result, and the views of the file that stay resident after a pass over the
        // column are the store's: neither is the sort's extra memory.
        view.Sort(0, {}, nullptr, 0);
        view.FindString(0, NameColumn, "no such name", 0);
        const MemoryWatch watch;
        state.ResumeTiming();
        view.Sort(0, {{NameColumn, true}}, nullptr, 0);
        state.PauseTiming();
        state.counters["bytes_row"] = static_cast<double>(watch.PeakGrowth()) / TableRows;
        CheckOrder(view);
        state.ResumeTiming();
    }
}

BENCHMARK(SortFloor)
    ->Name("Sort/floor")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(3)
    ->UseRealTime();
BENCHMARK(SortLibrary)
    ->Name("Sort/library")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(3)
    ->UseRealTime();

}  // namespace

}  // namespace qxbench
