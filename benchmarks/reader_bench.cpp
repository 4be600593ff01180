// Screens that a second thread reads while rows stream in.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <random>
#include <vector>

#include "benchmarks/bench_table.h"
#include "engine/director.h"
#include "engine/single_connection.h"
#include "request/sql_request.h"

namespace qxbench {

using namespace qxdbsqlengine;

namespace {

using Clock = std::chrono::steady_clock;

class EndFlag final : public RequestCallback {
  public:
    std::atomic<bool> ended{false};
    void OnRequestBegin(double) override {}
    void OnRequestEnd(double) override { ended = true; }
    void OnCancelFailed(double) override { ended = true; }
};

// Reads screens at random places, cell by cell as a grid does, until the run ends; gives the time of each in
// ms.
std::vector<double> ReadScreens(DataStorage& store, const EndFlag& flag) {
    std::vector<double> times;
    std::mt19937 random(2);
    std::size_t bytes = 0;
    while (!flag.ended) {
        const int rows = store.GetNumberOfResultSets() == 0 ? 0 : store.GetNumberOfRows(0);
        if (rows < 50)
            continue;
        const int first = std::uniform_int_distribution<int>(0, rows - 50)(random);
        const Clock::time_point start = Clock::now();
        for (int row = first; row < first + 50; ++row) {
            for (int column = 0; column < TableColumns; ++column)
                bytes += store.AsString(0, row, column, std::locale::classic()).size();
        }
        times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
    benchmark::DoNotOptimize(bytes);
    return times;
}

void Reader(benchmark::State& state) {
    const qxdb::ConnectionDef place(qxdb::DBTYPE_SQLITE, TableFile(), "", "", "sqlite", "");
    const SmartPtr<ConnectionRequestCallback> connections(new SingleConnection(place));
    const qxdbsrd::ConnectionDefElement definition(qxdb::DBTYPE_SQLITE, TableFile(), 0.0, "", "");
    for (auto _ : state) {
        EndFlag flag;
        CSingleRequestDirector director(definition, connections, nullptr, "", true);
        director.RegisterCallback(static_cast<RequestCallback&>(flag));
        director.Execute(SelectAll, SQLRequest::RequestSQL, false, false);
        const auto store = director.GetDataStorage();
        std::vector<double> times = ReadScreens(*store, flag);
        std::sort(times.begin(), times.end());
        state.counters["screens"] = static_cast<double>(times.size());
        state.counters["p50_ms"] = times[times.size() / 2];
        state.counters["p99_ms"] = times[times.size() * 99 / 100];
        state.counters["max_ms"] = times.back();
    }
}

BENCHMARK(Reader)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(3)->UseRealTime();

}  // namespace

}  // namespace qxbench
