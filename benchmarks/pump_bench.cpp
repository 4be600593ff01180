// From the SQLite cursor into the store.

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "benchmarks/bench_table.h"

namespace qxbench {

using qxdbsqlengine::DataStorage;
using qxdbsqlengine::SmartPtr;

namespace {

// What the floor keeps of a column: whole numbers and doubles as they are, texts in a pool.
struct Pool {
    std::vector<char> bytes;
    std::vector<std::int64_t> offsets{0};
    void Add(sqlite3_stmt* statement, int column) {
        const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
        bytes.insert(bytes.end(), text, text + sqlite3_column_bytes(statement, column));
        offsets.push_back(static_cast<std::int64_t>(bytes.size()));
    }
    void AddEmpty() { offsets.push_back(static_cast<std::int64_t>(bytes.size())); }
};

struct FloorResult {
    std::vector<std::int64_t> id;
    std::vector<short> small;
    std::vector<double> price;
    std::vector<double> ratio;
    Pool name;
    Pool note;
    Pool placed;
    std::vector<int> flag;
    std::vector<unsigned char> nulls;  // one bit for each column
};

void CopyRow(sqlite3_stmt* statement, FloorResult& to) {
    unsigned char nulls = 0;
    for (int column = 0; column < TableColumns; ++column) {
        if (sqlite3_column_type(statement, column) == SQLITE_NULL)
            nulls = static_cast<unsigned char>(nulls | 1U << static_cast<unsigned>(column));
    }
    to.id.push_back(sqlite3_column_int64(statement, 0));
    to.small.push_back(static_cast<short>(sqlite3_column_int(statement, 1)));
    to.price.push_back(sqlite3_column_double(statement, 2));
    to.ratio.push_back(sqlite3_column_double(statement, 3));
    to.name.Add(statement, 4);
    if (nulls & 1U << 5U)
        to.note.AddEmpty();
    else
        to.note.Add(statement, 5);
    to.placed.Add(statement, 6);
    to.flag.push_back(sqlite3_column_int(statement, 7));
    to.nulls.push_back(nulls);
}

void PumpFloor(benchmark::State& state) {
    TableFile();
    for (auto _ : state) {
        sqlite3* db = nullptr;
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_open_v2(TableFile().c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) !=
                SQLITE_OK ||
            sqlite3_prepare_v2(db, SelectAll, -1, &statement, nullptr) != SQLITE_OK)
            std::abort();
        FloorResult result;
        while (sqlite3_step(statement) == SQLITE_ROW)
            CopyRow(statement, result);
        benchmark::DoNotOptimize(result.id.size());
        sqlite3_finalize(statement);
        sqlite3_close(db);
        state.PauseTiming();  // giving the result up is no part of the job, here and there
        result = FloorResult();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * TableRows);
}

void PumpLibrary(benchmark::State& state) {
    TableFile();
    for (auto _ : state) {
        SmartPtr<DataStorage> store = LoadStore(SelectAll);
        if (store->GetNumberOfRows(0) != TableRows)
            std::abort();
        state.PauseTiming();
        store = SmartPtr<DataStorage>();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * TableRows);
}

BENCHMARK(PumpFloor)
    ->Name("Pump/floor")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(5)
    ->UseRealTime();
BENCHMARK(PumpLibrary)
    ->Name("Pump/library")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(5)
    ->UseRealTime();

}  // namespace

}  // namespace qxbench
