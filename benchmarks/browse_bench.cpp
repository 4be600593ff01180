// Screens of 50 rows as text, at random places of the table.

#include <benchmark/benchmark.h>

#include <charconv>
#include <random>
#include <string>
#include <vector>

#include "benchmarks/bench_table.h"
#include "storage/cell_format.h"
#include "storage/cell_sink.h"

namespace qxbench {

using namespace qxdbsqlengine;

namespace {

constexpr int Screens = 200;
constexpr int ScreenRows = 50;
using Screen = std::vector<std::string>;  // ScreenRows times TableColumns texts

std::vector<int> Places() {
    std::mt19937 random(3);
    std::uniform_int_distribution<int> anyRow(0, TableRows - ScreenRows);
    std::vector<int> places(Screens);
    for (int& place : places)
        place = anyRow(random);
    return places;
}

std::string CentsText(std::int64_t cents) {
    char text[32];
    char* to = text;
    if (cents < 0)
        *to++ = '-';
    const std::int64_t magnitude = cents < 0 ? -cents : cents;
    to = std::to_chars(to, text + sizeof text, magnitude / 100).ptr;
    *to++ = '.';
    *to++ = static_cast<char>('0' + magnitude % 100 / 10);
    *to++ = static_cast<char>('0' + magnitude % 10);
    return {text, to};
}

template <class Number>
std::string NumberText(Number number) {
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

void BrowseFloor(benchmark::State& state) {
    const PlainTable& table = Plain();
    const std::vector<int> places = Places();
    for (auto _ : state) {
        for (const int place : places) {
            Screen screen;
            screen.reserve(ScreenRows * TableColumns);
            for (int row = place; row < place + ScreenRows; ++row) {
                char time[19];
                AppendTime(time, table.placed[row]);
                screen.push_back(NumberText(table.id[row]));
                screen.push_back(NumberText(table.small[row]));
                screen.push_back(CentsText(table.cents[row]));
                screen.push_back(NumberText(table.ratio[row]));
                screen.emplace_back(table.Name(row));
                screen.push_back(table.noteIsNull[row] ? "[NULL]" : std::string(table.Note(row)));
                screen.emplace_back(time, sizeof time);
                screen.push_back(NumberText(table.flag[row]));
            }
            benchmark::DoNotOptimize(screen.data());
        }
    }
}

struct ScreenSink : CellSink {
    Screen* screen = nullptr;
    void OnCell(int, bool, std::string_view text) override { screen->emplace_back(text); }
};

// Row by row, as a grid that draws whole rows asks.
void BrowseLibrary(benchmark::State& state) {
    DataStorage& store = SharedStore();
    const std::vector<int> places = Places();
    const int columns[TableColumns] = {0, 1, 2, 3, 4, 5, 6, 7};
    for (auto _ : state) {
        for (const int place : places) {
            Screen screen;
            screen.reserve(ScreenRows * TableColumns);
            ScreenSink sink;
            sink.screen = &screen;
            for (int row = place; row < place + ScreenRows; ++row)
                store.VisitRow(0, row, columns, TableColumns, CellFormat::Classic(), sink);
            benchmark::DoNotOptimize(screen.data());
        }
    }
}

// Cell by cell, one call for each text.
void BrowseCells(benchmark::State& state) {
    DataStorage& store = SharedStore();
    const std::vector<int> places = Places();
    for (auto _ : state) {
        for (const int place : places) {
            Screen screen;
            screen.reserve(ScreenRows * TableColumns);
            for (int row = place; row < place + ScreenRows; ++row) {
                for (int column = 0; column < TableColumns; ++column)
                    screen.push_back(store.AsString(0, row, column, std::locale::classic()));
            }
            benchmark::DoNotOptimize(screen.data());
        }
    }
}

BENCHMARK(BrowseFloor)
    ->Name("Browse/floor")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->Repetitions(5)
    ->UseRealTime();
BENCHMARK(BrowseLibrary)
    ->Name("Browse/library")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->Repetitions(5)
    ->UseRealTime();
BENCHMARK(BrowseCells)
    ->Name("Browse/cells")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->Repetitions(5)
    ->UseRealTime();

}  // namespace

}  // namespace qxbench
