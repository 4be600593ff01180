// qxbench: the library's speed as ratios to floors, all measured in this run.
//
// The table: 2,000,000 rows of id, small int, decimal(12,2), double, a name of 8 to 24 bytes, a note of 30 to
// 80 bytes with 10 % NULL, a date-time and an int flag. A floor is what plain C++ over vectors needs for the
// same job on one thread. --benchmark_filter=REGEX runs some of them.
//
// Scripts have no floor: they are split at a fixed speed or better, into the hands of a sink as in a run.

#include <benchmark/benchmark.h>

#include "benchmarks/odbc_bench.h"
#include "benchmarks/ratio_reporter.h"
#include "drivers/sqlite/sqlite_driver.h"

int main(int argc, char** argv) {
    qxdrivers::RegisterSQLite();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    qxbench::RegisterServerBenchmarks();
    qxbench::RatioReporter reporter({
        {"Pump", 1.35, "SQLite cursor to store; floor: sqlite3 loop into vectors and byte pools"},
        {"Server", 1.3,
         "1,000,000 rows of MariaDB to store; floor: ODBC loop of the same blocks into vectors"},
        {"ServerClient", 1.0, "the same; floor: mariadb --quick --batch to /dev/null"},
        {"Memory:MiB", 64, "resident memory that loading 10,000,000 rows adds"},
        {"Memory:wrong", 0, "values of those rows that read back wrong, in order and at random"},
        {"Reader:p99_ms", 10, "a screen of 50 rows, read while rows stream in, 99th percentile"},
        {"Sort", 0.35, "2,000,000 names; floor: std::sort of row numbers by the same comparison"},
        {"Sort/library:bytes_row", 16, "extra memory while sorting, bytes a row"},
        {"Export", 1.5, "comma-delimited text; floor: hand-written loop into a 1 MiB buffered file"},
        {"ExportHtml", 2.0, "the same for an HTML page"},
        {"ExportSheet", 2.0, "the same for SpreadsheetML"},
        {"ExportXml", 2.0, "the same for an XML results file"},
        {"ExportInsert", 2.0, "the same for INSERT statements"},
        {"ExportMemory:MiB", 8, "resident memory that an export adds, of whichever format"},
        {"ReadBack", 1.0, "the delimited file into a store; floor: the sqlite3 shell's .import"},
        {"Browse", 8.0, "200 screens of 50 rows as text at random places; floor: from vectors"},
        {"EditMemory:over", 10,
         "percent of pages beyond what the values need, after 1,000,000 edits and deletes"},
        {"EditMemory:shrinking", 10, "the same, the worst while nine of ten rows are deleted at random"},
        {"Split:oracle", 1, "seconds for 150 MB of INSERT statements, best of 3"},
        {"Split:db2", 1, "the same"},
        {"Split:db2zos", 1, "the same"},
        {"Split:mysql", 1, "the same"},
        {"Split:other", 1, "the same"},
        {"Split:sqlserver", 1, "the same, each in a batch of its own"},
        {"Split:sybase", 1, "the same"},
        {"SplitLarge:ms", 50, "until the first statement of 1 GB comes; with line ends, and on one line"},
        {"SplitLarge:MiB", 8, "resident memory that splitting 1 GB of short statements adds"},
        {"SplitLong:bytes", 4, "the same for one statement of 64 MB, for each of its bytes"},
    });
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
