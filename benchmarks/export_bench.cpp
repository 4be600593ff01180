// Comma-delimited text of the whole table, into a file.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "benchmarks/bench_table.h"
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

char* AppendText(char* to, std::string_view text) {
    bool quotes = !text.empty() && text[0] == '"';
    for (const char c : text)
        quotes |= c == ',' || c == '\n' || c == '\r';
    if (!quotes) {
        std::memcpy(to, text.data(), text.size());
        return to + text.size();
    }
    *to++ = '"';
    for (const char c : text) {
        if (c == '"')
            *to++ = '"';
        *to++ = c;
    }
    *to++ = '"';
    return to;
}

char* AppendCents(char* to, std::int64_t cents) {
    if (cents < 0) {
        *to++ = '-';
        cents = -cents;
    }
    to = std::to_chars(to, to + 24, cents / 100).ptr;
    *to++ = '.';
    *to++ = static_cast<char>('0' + cents % 100 / 10);
    *to++ = static_cast<char>('0' + cents % 10);
    return to;
}

// The hand-written loop: the same bytes as the library's, from vectors through a buffer of 1 MiB.
void ExportFloor(benchmark::State& state) {
    const PlainTable& table = Plain();
    for (auto _ : state) {
        std::FILE* const file = std::fopen(FloorFile().name.c_str(), "wb");
        if (file == nullptr)
            std::abort();
        std::vector<char> buffer((1U << 20U) + 4096);
        char* to = buffer.data();
        const char header[] = "id,small,price,ratio,name,note,placed,flag\r\n";
        to = static_cast<char*>(std::memcpy(to, header, sizeof header - 1)) + sizeof header - 1;
        for (int row = 0; row < TableRows; ++row) {
            to = std::to_chars(to, to + 24, table.id[row]).ptr;
            *to++ = ',';
            to = std::to_chars(to, to + 24, table.small[row]).ptr;
            *to++ = ',';
            to = AppendCents(to, table.cents[row]);
            *to++ = ',';
            to = std::to_chars(to, to + 32, table.ratio[row]).ptr;
            *to++ = ',';
            to = AppendText(to, table.Name(row));
            *to++ = ',';
            to = AppendText(to, table.Note(row));
            *to++ = ',';
            to = AppendTime(to, table.placed[row]);
            *to++ = ',';
            to = std::to_chars(to, to + 24, table.flag[row]).ptr;
            *to++ = '\r';
            *to++ = '\n';
            if (to - buffer.data() > 1 << 20) {
                std::fwrite(buffer.data(), 1, static_cast<std::size_t>(to - buffer.data()), file);
                to = buffer.data();
            }
        }
        std::fwrite(buffer.data(), 1, static_cast<std::size_t>(to - buffer.data()), file);
        std::fclose(file);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(std::filesystem::file_size(FloorFile().name)) *
                            state.iterations());
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

void ExportLibrary(benchmark::State& state) {
    const SmartPtr<DataStorage> store(new DataStorage(SharedStore()));
    for (auto _ : state) {
        std::atomic<bool> cancel{false};
        Persistence writer(ResultFileComma, cancel, nullptr, store);
        writer.SetFileName(LibraryFile().name.c_str());
        if (!writer.WriteAllResultSets())
            std::abort();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(std::filesystem::file_size(LibraryFile().name)) *
                            state.iterations());
    if (std::filesystem::file_size(FloorFile().name) > 0 && !SameFiles(FloorFile().name, LibraryFile().name))
        state.SkipWithError("the library's bytes differ from the floor's");
}

void ReadBack(benchmark::State& state) {
    for (auto _ : state) {
        std::atomic<bool> cancel{false};
        const SmartPtr<DataStorage> store(new DataStorage(DataStorage::CreateResultsStorage(false)));
        Persistence reader(ResultFileComma, cancel, nullptr, store);
        reader.SetFileName(LibraryFile().name.c_str());
        if (!reader.ReadAllResultSets() || store->GetNumberOfRows(0) != TableRows)
            std::abort();
    }
}

BENCHMARK(ExportFloor)
    ->Name("Export/floor")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(5)
    ->UseRealTime();
BENCHMARK(ExportLibrary)
    ->Name("Export/library")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(5)
    ->UseRealTime();
BENCHMARK(ReadBack)->Name("ReadBack/library")->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();

}  // namespace

}  // namespace qxbench
