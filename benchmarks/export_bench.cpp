// The whole table into a file of each format, and back.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "benchmarks/bench_table.h"
#include "benchmarks/export_floors.h"
#include "benchmarks/process_memory.h"
#include "persistence/persistence.h"

namespace qxbench {

using namespace qxdbsqlengine;

namespace {

// A temporary file that goes away with its owner.
class ExportFile {
  public:
    ExportFile() : name((std::filesystem::temp_directory_path() / "qxbench_export_XXXXXX").string()) {
        const int file = mkstemp(name.data());
        if (file < 0)
            std::abort();
        close(file);
    }
    ~ExportFile() { std::filesystem::remove(name); }
    std::string name;
};

const ExportFile& FloorFile() {
    static const ExportFile file;
    return file;
}

const ExportFile& LibraryFile() {
    static const ExportFile file;
    return file;
}

struct Format {
    ResultFileType type;
    std::function<void()> writeFloor;
};

const Format CommaFormat{ResultFileComma, [] { WriteCommaFloor(FloorFile().name); }};
const Format HtmlFormat{ResultFileHtml, [] { WriteHtmlFloor(FloorFile().name, LibraryFile().name); }};
const Format SpreadsheetXmlFormat{ResultFileSpreadsheetXml,
                                  [] { WriteSpreadsheetXmlFloor(FloorFile().name); }};
const Format XmlFormat{ResultFileXml, [] { WriteXmlFloor(FloorFile().name); }};
const Format InsertFormat{ResultFileInsert, [] { WriteInsertFloor(FloorFile().name); }};

void CountBytes(benchmark::State& state, const std::string& file) {
    state.SetBytesProcessed(static_cast<std::int64_t>(std::filesystem::file_size(file)) * state.iterations());
}

// The hand-written loop: the same bytes as the library's.
void ExportFloor(benchmark::State& state, const Format& format) {
    Plain();
    for (auto _ : state)
        format.writeFloor();
    CountBytes(state, FloorFile().name);
}

bool SameFiles(const std::string& left, const std::string& right) {
    std::FILE* const a = std::fopen(left.c_str(), "rb");
    std::FILE* const b = std::fopen(right.c_str(), "rb");
    std::vector<char> aBlock(1U << 20U);
    std::vector<char> bBlock(1U << 20U);
    bool same = a != nullptr && b != nullptr;
    while (same) {
        const std::size_t aSize = std::fread(aBlock.data(), 1, aBlock.size(), a);
        const std::size_t bSize = std::fread(bBlock.data(), 1, bBlock.size(), b);
        same = aSize == bSize && std::memcmp(aBlock.data(), bBlock.data(), aSize) == 0;
        if (aSize == 0)
            break;
    }
    if (a != nullptr)
        std::fclose(a);
    if (b != nullptr)
        std::fclose(b);
    return same;
}

void WriteLibraryFile(const SmartPtr<DataStorage>& store, ResultFileType type) {
    std::atomic<bool> cancel{false};
    Persistence writer(type, cancel, nullptr, store);
    writer.SetFileName(LibraryFile().name.c_str());
    writer.SetDBMSType(qxdb::DBTYPE_MYSQL);
    if (!writer.WriteAllResultSets())
        std::abort();
}

// The shared store, with the name that INSERT statements want.
SmartPtr<DataStorage> NamedStore() {
    const SmartPtr<DataStorage> store(new DataStorage(SharedStore()));
    store->SetTableName(0, "bench");
    return store;
}

void ExportLibrary(benchmark::State& state, const Format& format) {
    const SmartPtr<DataStorage> store = NamedStore();
    for (auto _ : state)
        WriteLibraryFile(store, format.type);
    CountBytes(state, LibraryFile().name);
    if (std::filesystem::file_size(FloorFile().name) > 0 && !SameFiles(FloorFile().name, LibraryFile().name))
        state.SkipWithError("the library's bytes differ from the floor's");
}

// Resident memory that an export of each format adds, the largest of them.
void ExportMemory(benchmark::State& state) {
    const SmartPtr<DataStorage> store = NamedStore();
    for (auto _ : state) {
        std::size_t most = 0;
        for (const Format* format :
             {&CommaFormat, &HtmlFormat, &SpreadsheetXmlFormat, &XmlFormat, &InsertFormat}) {
            const MemoryWatch watch;
            WriteLibraryFile(store, format->type);
            most = std::max(most, watch.PeakGrowth());
        }
        state.counters["MiB"] = static_cast<double>(most) / (1024.0 * 1024.0);
    }
}

// What another reader of the same file needs: the sqlite3 shell's .import into a table in memory.
void ReadBackFloor(benchmark::State& state) {
    if (std::system("command -v sqlite3 > /dev/null 2>&1") != 0) {
        state.SkipWithError("the sqlite3 shell is not installed");
        return;
    }
    WriteCommaFloor(FloorFile().name);
    const std::string command = "sqlite3 :memory: \".mode csv\" \".import '" + FloorFile().name + "' t\"";
    for (auto _ : state)
        if (std::system(command.c_str()) != 0)
            std::abort();
}

void ReadBackLibrary(benchmark::State& state) {
    WriteCommaFloor(FloorFile().name);
    for (auto _ : state) {
        std::atomic<bool> cancel{false};
        const SmartPtr<DataStorage> store(new DataStorage(DataStorage::CreateResultsStorage(false)));
        Persistence reader(ResultFileComma, cancel, nullptr, store);
        reader.SetFileName(FloorFile().name.c_str());
        if (!reader.ReadAllResultSets() || store->GetNumberOfRows(0) != TableRows)
            std::abort();
    }
}

void ReadBackXml(benchmark::State& state) {
    WriteXmlFloor(FloorFile().name);
    for (auto _ : state) {
        std::atomic<bool> cancel{false};
        const SmartPtr<DataStorage> store(new DataStorage(DataStorage::CreateResultsStorage(false)));
        Persistence reader(ResultFileXml, cancel, nullptr, store);
        reader.SetFileName(FloorFile().name.c_str());
        if (!reader.ReadAllResultSets() || store->GetNumberOfRows(0) != TableRows)
            std::abort();
    }
}

void AddFormat(const char* name, const Format& format) {
    using benchmark::RegisterBenchmark;
    for (const bool floor : {true, false})
        RegisterBenchmark((std::string(name) + (floor ? "/floor" : "/library")).c_str(),
                          floor ? ExportFloor : ExportLibrary, format)
            ->Unit(benchmark::kMillisecond)
            ->Iterations(1)
            ->Repetitions(5)
            ->UseRealTime();
}

const bool registered = [] {
    AddFormat("Export", CommaFormat);
    AddFormat("ExportHtml", HtmlFormat);
    AddFormat("ExportSheet", SpreadsheetXmlFormat);
    AddFormat("ExportXml", XmlFormat);
    AddFormat("ExportInsert", InsertFormat);
    return true;
}();

BENCHMARK(ExportMemory)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();
BENCHMARK(ReadBackFloor)
    ->Name("ReadBack/floor")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(3)
    ->UseRealTime();
BENCHMARK(ReadBackLibrary)
    ->Name("ReadBack/library")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(3)
    ->UseRealTime();
BENCHMARK(ReadBackXml)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();

}  // namespace

}  // namespace qxbench
