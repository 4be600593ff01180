// The main job in one go: stream a million rows out of a database, read the first ones while the rest arrive,
// sort by a text column, export to comma-delimited text, read that back and compare.
// Usage: tour DATABASE OUTPUT.csv [ROWS]

#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <numeric>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "drivers/sqlite/sqlite_driver.h"
#include "engine/director.h"
#include "engine/single_connection.h"
#include "persistence/persistence.h"
#include "request/sql_request.h"
#include "storage/cell_format.h"
#include "storage/cell_sink.h"
#include "storage/data_storage.h"
#include "storage/row_reader.h"

using namespace qxdbsqlengine;

namespace {

class Stopwatch {
  public:
    double Seconds() const { return std::chrono::duration<double>(Clock::now() - start).count(); }

  private:
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
};

class Progress final : public RequestCallback, public ErrorCallback {
  public:
    std::atomic<bool> ended{false};
    std::atomic<bool> failed{false};

    void OnRequestBegin(double) override {}
    void OnRequestEnd(double) override { ended = true; }
    void OnCancelFailed(double) override { ended = true; }
    void OnError(const Errors& errors) override {
        failed = true;
        while (errors.MoreErrors())
            std::cerr << errors.GetNextError().GetErrorDescription() << '\n';
    }
};

std::string StreamSql(long rows) {
    return "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
           std::to_string(rows) +
           ") SELECT i AS id, c.name || ' ' || (i * 7919 % 1000003) AS customer, c.country, p.price, "
           "p.name AS product, c.born FROM n CROSS JOIN customer c ON c.id = i % 8 + 1 "
           "CROSS JOIN product p ON p.rowid = i % 5 + 1";
}

// Waits for the first screen of 50 rows and prints three of them.
void ReadFirstRows(DataStorage& store, const Progress& progress, const Stopwatch& watch) {
    while (!progress.ended && (store.GetNumberOfResultSets() == 0 || store.GetNumberOfRows(0) < 50))
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    const double seconds = watch.Seconds();
    std::string lastCell;
    for (int row = 0; row < 50; ++row) {
        for (int col = 0; col < store.GetNumberOfColumns(0); ++col)
            lastCell = store.AsString(0, row, col, std::locale::classic());
    }
    std::printf("First 50 rows after %.1f ms, read in %.1f ms while the rest arrived (%d rows were there):\n",
                seconds * 1e3, (watch.Seconds() - seconds) * 1e3, store.GetNumberOfRows(0));
    for (int row = 0; row < 3; ++row) {
        std::cout << "   ";
        for (int col = 0; col < store.GetNumberOfColumns(0); ++col)
            std::cout << ' ' << store.AsString(0, row, col, std::locale::classic()) << " |";
        std::cout << std::endl;
    }
}

// Keeps the texts of one row; NULL as an empty text, as it is exported.
struct RowTexts final : CellSink {
    std::vector<std::string> cells;
    void OnCell(int position, bool isNull, std::string_view text) override {
        cells[static_cast<std::size_t>(position)] = isNull ? std::string_view() : text;
    }
};

// Cells that differ between two result sets, -1 when they don't have as many rows.
long CountDifferences(DataStorage& left, DataStorage& right) {
    const int rows = left.GetNumberOfRows(0);
    if (rows != right.GetNumberOfRows(0))
        return -1;
    std::vector<int> columns(static_cast<std::size_t>(left.GetNumberOfColumns(0)));
    std::iota(columns.begin(), columns.end(), 0);
    RowReader leftReader(left, 0, columns, CellFormat::Classic());
    RowReader rightReader(right, 0, columns, CellFormat::Classic());
    RowTexts leftRow;
    RowTexts rightRow;
    leftRow.cells.resize(columns.size());
    rightRow.cells.resize(columns.size());
    long differences = 0;
    for (int row = 0; row < rows; ++row) {
        if (!leftReader.Visit(row, leftRow) || !rightReader.Visit(row, rightRow))
            return -1;
        for (std::size_t col = 0; col < columns.size(); ++col)
            differences += leftRow.cells[col] != rightRow.cells[col] ? 1 : 0;
    }
    return differences;
}

bool ExportAndCompare(const SmartPtr<DataStorage>& store, const std::string& fileName) {
    std::atomic<bool> cancel{false};
    Stopwatch exportWatch;
    Persistence writer(ResultFileComma, cancel, nullptr, store);
    writer.SetFileName(fileName.c_str());
    if (!writer.WriteAllResultSets())
        return false;
    std::printf("Exported %.1f MB of comma-delimited text in %.2f s\n",
                static_cast<double>(std::filesystem::file_size(fileName)) / 1e6, exportWatch.Seconds());

    const SmartPtr<DataStorage> copy(new DataStorage(DataStorage::CreateResultsStorage(false)));
    Stopwatch readWatch;
    Persistence reader(ResultFileComma, cancel, nullptr, copy);
    reader.SetFileName(fileName.c_str());
    if (!reader.ReadAllResultSets())
        return false;
    const double readSeconds = readWatch.Seconds();
    const long differences = CountDifferences(*store, *copy);
    std::printf("Read %d rows back in %.2f s; cells that differ: %ld\n", copy->GetNumberOfRows(0),
                readSeconds, differences);
    return differences == 0;
}

int Run(const std::string& database, const std::string& fileName, long rows) {
    const qxdb::ConnectionDef place(qxdb::DBTYPE_SQLITE, database, "", "", "sqlite", "");
    const SmartPtr<ConnectionRequestCallback> connections(new SingleConnection(place));
    const qxdbsrd::ConnectionDefElement definition(qxdb::DBTYPE_SQLITE, database, 0.0, "", "");
    Progress progress;
    CSingleRequestDirector director(definition, connections, nullptr, "", true);
    director.RegisterCallback(static_cast<RequestCallback&>(progress));
    director.RegisterCallback(static_cast<ErrorCallback&>(progress));
    const SmartPtr<DataStorage> store = director.GetDataStorage();

    Stopwatch watch;
    director.Execute(StreamSql(rows), SQLRequest::RequestSQL, false, false);
    ReadFirstRows(*store, progress, watch);
    while (!progress.ended)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const double seconds = watch.Seconds();
    if (progress.failed)
        return 1;
    std::printf("Streamed %d rows in %.2f s (%.0f rows/s)\n", store->GetNumberOfRows(0), seconds,
                store->GetNumberOfRows(0) / seconds);

    Stopwatch sortWatch;
    store->Sort(0, {{1, true}}, nullptr, 0);
    std::printf("Sorted by customer in %.2f s; first: %s, last: %s\n", sortWatch.Seconds(),
                store->GetString(0, 0, 1).c_str(),
                store->GetString(0, store->GetNumberOfRows(0) - 1, 1).c_str());
    if (!ExportAndCompare(store, fileName)) {
        std::fprintf(stderr, "The export could not be written and read back: %s\n", fileName.c_str());
        return 4;
    }
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("Peak memory %.1f MiB\n", static_cast<double>(usage.ru_maxrss) / 1024.0);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::cerr << "Usage: tour DATABASE OUTPUT.csv [ROWS]\n";
        return 2;
    }
    qxdrivers::RegisterSQLite();
    try {
        return Run(argv[1], argv[2], argc > 3 ? std::atol(argv[3]) : 1000000);
    } catch (const Errors& errors) {
        std::cerr << errors.GetNextError().GetErrorDescription() << '\n';
        return 3;
    }
}
