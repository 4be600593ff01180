// How much resident memory ten million rows take, and whether they read back.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>

#include "benchmarks/bench_table.h"
#include "benchmarks/process_memory.h"

namespace qxbench {

using qxdbsqlengine::DataStorage;

namespace {

constexpr int Copies = 5;

// Five times the table, with ids that go on, so that the file need not hold ten million rows.
const char FiveTimes[] =
    "WITH k(k) AS (VALUES (0), (1), (2), (3), (4)) SELECT k * 2000000 + id AS id, small, price, ratio, name, "
    "note, placed, flag FROM k CROSS JOIN bench ORDER BY k, bench.id";

long WrongValues(DataStorage& store, int row, Row& expected) {
    MakeRow(row % TableRows, expected);
    expected.id = row + 1;
    const qxdb::Timestamp placed = store.GetTimestamp(0, row, 6);
    const PlainTime& time = expected.placed;
    long wrong = 0;
    wrong += store.GetInt64(0, row, 0) != expected.id;
    wrong += store.GetShort(0, row, 1) != expected.small;
    wrong += store.GetDecimal(0, row, 2).Compare(qxdb::Decimal(static_cast<__int64>(expected.cents), 2)) != 0;
    wrong += store.GetDouble(0, row, 3) != expected.ratio;
    wrong += store.GetString(0, row, 4) != expected.name;
    wrong += store.GetString(0, row, 5) != expected.note;
    wrong += store.IsNull(0, row, 5) != expected.noteIsNull;
    wrong += placed.GetYear() != time.year || placed.GetMonth() != time.month ||
             placed.GetDay() != time.day || placed.GetHour() != time.hour ||
             placed.GetMinute() != time.minute || placed.GetSeconds() != time.second;
    wrong += store.GetInt64(0, row, 7) != expected.flag;
    return wrong;
}

void Memory(benchmark::State& state) {
    TableFile();
    LoadStore("SELECT 1");  // what a first run loads and allocates once is not the rows'
    for (auto _ : state) {
        const MemoryWatch watch;
        const auto store = LoadStore(FiveTimes);
        constexpr int rows = Copies * TableRows;
        if (store->GetNumberOfRows(0) != rows)
            std::abort();
        long wrong = 0;
        Row expected;
        for (int row = 0; row < rows; ++row)
            wrong += WrongValues(*store, row, expected);
        std::mt19937 random(1);
        std::uniform_int_distribution<int> anyRow(0, rows - 1);
        for (int i = 0; i < 200000; ++i)
            wrong += WrongValues(*store, anyRow(random), expected);
        state.counters["MiB"] = static_cast<double>(watch.PeakGrowth()) / (1024.0 * 1024.0);
        state.counters["wrong"] = static_cast<double>(wrong);
    }
}

BENCHMARK(Memory)->Unit(benchmark::kSecond)->Iterations(1)->UseRealTime();

}  // namespace

}  // namespace qxbench
