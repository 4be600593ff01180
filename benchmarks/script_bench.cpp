// How fast scripts are split, as their statements reach a sink through the parser component, and how much
// memory that takes.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "batch/parser_name.h"
#include "benchmarks/bench_table.h"
#include "benchmarks/process_memory.h"
#include "platform/os/component.h"
#include "platform/qxparser/script_parser.h"
#include "platform/qxutils/wide_string.h"
#include "scriptparser/script_parser_component.h"

namespace qxbench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint64_t Million = 1000000;
constexpr std::uint64_t ScriptSize = 300 * Million;
constexpr std::uint64_t LargeSize = 1000 * Million;
constexpr std::uint64_t LongSize = 64 * Million;
constexpr int Tries = 3;  // the best of them counts: others use this machine too

double Seconds(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// A temporary file of at least `size` bytes, which goes away with its owner.
class ScriptFile {
  public:
    using Append = std::function<void(std::int64_t number, std::string& text)>;

    ScriptFile(std::uint64_t size, const Append& append)
        : name((std::filesystem::temp_directory_path() / "qxbench_script_XXXXXX").string()) {
        const int descriptor = mkstemp(name.data());
        std::FILE* const file = descriptor < 0 ? nullptr : fdopen(descriptor, "wb");
        if (file == nullptr)
            std::abort();
        std::string text;
        for (std::int64_t number = 0; bytes < size; text.clear()) {
            while (text.size() < 8 * Million && bytes + text.size() < size) {
                append(number++, text);
                ++statements;
            }
            if (std::fwrite(text.data(), 1, text.size(), file) != text.size())
                std::abort();
            bytes += text.size();
        }
        if (std::fclose(file) != 0)
            std::abort();
    }
    ~ScriptFile() { std::filesystem::remove(name); }
    ScriptFile(const ScriptFile&) = delete;
    ScriptFile& operator=(const ScriptFile&) = delete;

    std::string name;
    std::uint64_t bytes = 0;
    long statements = 0;
};

void AppendInsert(std::int64_t number, std::string& text) {
    Row row;
    MakeRow(number % TableRows, row);
    char numbers[128];
    std::snprintf(numbers, sizeof numbers, "%lld, %d, %lld.%02d, %g", static_cast<long long>(row.id),
                  row.small, static_cast<long long>(row.cents / 100),
                  static_cast<int>(std::abs(row.cents % 100)), row.ratio);
    char placed[32] = {};
    AppendTime(placed, row.placed);
    text += "INSERT INTO bench (id, small, price, ratio, name, note, placed, flag)\n    VALUES (";
    text += numbers;
    text += ", '" + row.name + "', ";
    text += row.noteIsNull ? "NULL" : "'" + row.note + "; it''s'";
    text += std::string(", '") + placed + "', " + std::to_string(row.flag) + ")";
}

// Counts what comes, and remembers when the first came.
class CountingSink final
    : public qxos::ComponentObject<IQXBatchProcessorSink, &IID_IUnknown, &IQXBatchProcessorSink::Iid> {
  public:
    HRESULT PutStatement(unsigned short const* text, long, long, short, short, short) override {
        if (statements++ == 0)
            firstCame = Clock::now();
        if (onlyFirst)
            return E_ABORT;
        longest = std::max(longest, qxutils::Char16Traits::length(text));
        return S_OK;
    }
    HRESULT ProcessingComplete() override { return S_OK; }

    bool onlyFirst = false;
    long statements = 0;
    std::size_t longest = 0;  // in units
    Clock::time_point firstCame;
};

// One parse of a file as the thread of a run makes it, with a parser of its own.
HRESULT Parse(const std::string& fileName, qxdb::DBTYPE server, IQXBatchProcessorSink& sink) {
    qxscriptparser::RegisterScriptParser();
    CoInitialize(nullptr);
    HRESULT result = E_FAIL;
    {
        qxos::ComponentPtr<IQXScriptParserFactory> factory;
        qxos::ComponentPtr<IQXScriptParser> parser;
        void* made = nullptr;
        if (CoCreateInstance(CLSID_QXScriptParserFactory, nullptr, CLSCTX_ALL, IQXScriptParserFactory::Iid,
                             &made) != S_OK)
            std::abort();
        *factory.Receive() = static_cast<IQXScriptParserFactory*>(made);
        if (factory->GetParser(parser.Receive()) != S_OK)
            std::abort();
        const std::string narrow = qxbatch::DefaultBatchSeparator(server);
        const std::wstring wideName(fileName.begin(), fileName.end());
        const std::wstring separator(narrow.begin(), narrow.end());
        const BSTR name = SysAllocStringLen(wideName.data(), static_cast<unsigned int>(wideName.size()));
        parser->Advise(&sink);
        result = parser->ParseFile(name, qxbatch::ParserName(server, 0.0, true).c_str(), separator.c_str());
        parser->Unadvise(&sink);
        SysFreeString(name);
    }
    CoUninitialize();
    return result;
}

void ExpectWhole(const ScriptFile& file, qxdb::DBTYPE server, CountingSink& sink) {
    if (Parse(file.name, server, sink) != S_OK || sink.statements != file.statements)
        std::abort();
}

// Seconds that 150 MB take, in the best of some tries.
double SecondsFor150MB(const ScriptFile& file, qxdb::DBTYPE server) {
    double best = 0;
    for (int i = 0; i < Tries; ++i) {
        qxos::ComponentPtr<CountingSink> sink;
        *sink.Receive() = new CountingSink();
        const Clock::time_point start = Clock::now();
        ExpectWhole(file, server, *sink.Get());
        const double seconds = Seconds(start);
        best = i == 0 ? seconds : std::min(best, seconds);
    }
    return best * static_cast<double>(150 * Million) / static_cast<double>(file.bytes);
}

struct Server {
    const char* name;
    qxdb::DBTYPE type;
};

void SplitInserts(benchmark::State& state, const char* separator, const std::vector<Server>& servers) {
    const ScriptFile file(ScriptSize, [separator](std::int64_t number, std::string& text) {
        AppendInsert(number, text);
        text += separator;
    });
    for (const Server& server : servers)
        state.counters[server.name] = SecondsFor150MB(file, server.type);
}

void Split(benchmark::State& state) {
    for (auto _ : state) {
        SplitInserts(state, ";\n",
                     {{"oracle", qxdb::DBTYPE_ORACLE},
                      {"db2", qxdb::DBTYPE_DB2},
                      {"db2zos", qxdb::DBTYPE_DB2OS390},
                      {"mysql", qxdb::DBTYPE_MYSQL},
                      {"other", qxdb::DBTYPE_OTHER}});
        SplitInserts(state, "\ngo\n",
                     {{"sqlserver", qxdb::DBTYPE_SQLSERVER}, {"sybase", qxdb::DBTYPE_SYBASE}});
    }
}

// Statements of a large script, with line ends or all on one line.
void AppendShort(std::string& text, bool onOneLine) {
    static const std::string insert =
        "insert into customer (id, name, note) values (17, 'O''Brien', 'a note; not a long one');";
    text += insert;
    text += onOneLine ? ' ' : '\n';
}

// The milliseconds until the first statement of 1 GB comes, in the worst of some tries, and the memory that
// the whole takes.
void SplitLarge(benchmark::State& state) {
    for (auto _ : state) {
        double worst = 0;
        std::size_t memory = 0;
        for (const bool onOneLine : {false, true}) {
            const ScriptFile file(
                LargeSize, [onOneLine](std::int64_t, std::string& text) { AppendShort(text, onOneLine); });
            for (const qxdb::DBTYPE server : {qxdb::DBTYPE_ORACLE, qxdb::DBTYPE_MYSQL, qxdb::DBTYPE_OTHER}) {
                for (int i = 0; i < Tries; ++i) {
                    qxos::ComponentPtr<CountingSink> sink;
                    *sink.Receive() = new CountingSink();
                    sink->onlyFirst = true;
                    const Clock::time_point start = Clock::now();
                    Parse(file.name, server, *sink.Get());
                    worst = std::max(worst,
                                     std::chrono::duration<double>(sink->firstCame - start).count() * 1000);
                }
            }
            qxos::ComponentPtr<CountingSink> sink;
            *sink.Receive() = new CountingSink();
            const MemoryWatch watch;
            ExpectWhole(file, qxdb::DBTYPE_OTHER, *sink.Get());
            memory = std::max(memory, watch.PeakGrowth());
        }
        state.counters["ms"] = worst;
        state.counters["MiB"] = static_cast<double>(memory) / (1024.0 * 1024.0);
    }
}

// The memory that a statement of many megabytes takes, for each of its bytes.
void SplitLong(benchmark::State& state) {
    for (auto _ : state) {
        double worst = 0;
        for (const bool onOneLine : {false, true}) {
            const ScriptFile file(LongSize, [onOneLine](std::int64_t number, std::string& text) {
                text += number == 0 ? "insert into t values " : ",";
                text += onOneLine ? " (1, 'a value')" : "\n (1, 'a value')";
            });
            for (const qxdb::DBTYPE server :
                 {qxdb::DBTYPE_ORACLE, qxdb::DBTYPE_SQLSERVER, qxdb::DBTYPE_MYSQL, qxdb::DBTYPE_OTHER}) {
                qxos::ComponentPtr<CountingSink> sink;
                *sink.Receive() = new CountingSink();
                const MemoryWatch watch;
                if (Parse(file.name, server, *sink.Get()) != S_OK || sink->longest != file.bytes)
                    std::abort();
                worst = std::max(worst,
                                 static_cast<double>(watch.PeakGrowth()) / static_cast<double>(file.bytes));
            }
        }
        state.counters["bytes"] = worst;
    }
}

BENCHMARK(Split)->Unit(benchmark::kSecond)->Iterations(1)->UseRealTime();
BENCHMARK(SplitLarge)->Unit(benchmark::kSecond)->Iterations(1)->UseRealTime();
BENCHMARK(SplitLong)->Unit(benchmark::kSecond)->Iterations(1)->UseRealTime();

}  // namespace

}  // namespace qxbench
