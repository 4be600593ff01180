// Files, stores and a listening callback for the tests of the file formats.
#pragma once

#include <stdlib.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "persistence/persistence.h"
#include "platform/qxsplt/error_record.h"
#include "storage/append_only_results_storage.h"
#include "storage/column_definition.h"
#include "storage/data_storage.h"

namespace qxdbsqlengine {

// A directory that goes with its contents.
class TempFolder {
  public:
    TempFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "qx_persistence_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            throw std::runtime_error("mkdtemp");
        folder = name;
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    std::string Path(const std::string& name) const { return (folder / name).string(); }

  private:
    std::filesystem::path folder;
};

inline std::string ReadWholeFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

inline void WriteWholeFile(const std::string& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// Keeps what it is told; `onProgress` may act in the middle.
class RecordingCallback : public IQXPersistenceProgressCallback {
  public:
    void OnProgress(float done) override {
        progress.push_back(done);
        if (onProgress)
            onProgress();
    }
    void OnTotalRows(int rows) override { totals.push_back(rows); }
    void OnRecord(const ErrorRecord& record) override { records.push_back(record); }
    void OnRowsDone(int rows) override { rowsDone.push_back(rows); }

    std::vector<float> progress;
    std::vector<int> totals;
    std::vector<ErrorRecord> records;
    std::vector<int> rowsDone;
    std::function<void()> onProgress;
};

using Cell = std::optional<std::string>;  // nothing: NULL
using Row = std::vector<Cell>;

inline SmartPtr<DataStorage> NewStore() {
    return SmartPtr<DataStorage>(new DataStorage(DataStorage::CreateResultsStorage(false)));
}

inline void InsertTextRow(DataStorage& store, int resultSet, const Row& row) {
    RowLock lock = store.GetRowLock(resultSet);
    lock.Lock();
    for (int column = 0; column < static_cast<int>(row.size()); ++column) {
        if (!row[column])
            store.InsertNull(resultSet, column);
        else if (store.GetDataType(resultSet, column) == DataTypeLob)
            store.InsertLobData(resultSet, column, *row[column], qxdb::DynBuffer());
        else
            store.InsertString(resultSet, column, *row[column]);
    }
    lock.UnLock();
}

// Adds a result set of text columns.
inline int AddTextResultSet(DataStorage& store, const std::vector<std::string>& labels,
                            const std::vector<Row>& rows) {
    std::vector<ColumnDefinition> definitions(labels.size());
    for (std::size_t i = 0; i < labels.size(); ++i)
        definitions[i].columnLabel = labels[i];
    const int resultSet = store.AddResultSet(definitions, ResultSetNormal);
    for (const Row& row : rows)
        InsertTextRow(store, resultSet, row);
    return resultSet;
}

inline ColumnDefinition Column(const std::string& label, EnumDataType type, const std::string& format = "",
                               int precision = 0) {
    ColumnDefinition definition;
    definition.columnLabel = label;
    definition.dataType = type;
    definition.timestampFormat = format;
    definition.precision = precision;
    return definition;
}

// Adds a result set of typed columns, whose values are given as texts.
inline int AddTypedResultSet(DataStorage& store, const std::vector<ColumnDefinition>& definitions,
                             const std::vector<Row>& rows) {
    const int resultSet = store.AddResultSet(definitions, ResultSetNormal);
    for (const Row& row : rows)
        InsertTextRow(store, resultSet, row);
    return resultSet;
}

inline qxdb::Timestamp Time(int year, int month, int day, int hour, int minute, int second, int nanoseconds) {
    qxdb::Timestamp time;
    time.SetDate(year, month, day);
    time.SetTime(hour, minute, second);
    time.SetFraction(nanoseconds);
    return time;
}

// A store whose columns answer with alignments and precisions that the library's own never have.
class OddStore : public AppendOnlyResultsStorage {
  public:
    AlignHint GetAlignHint(int rs, int col) override {
        const auto found = hints.find(col);
        return found == hints.end() ? AppendOnlyResultsStorage::GetAlignHint(rs, col)
                                    : static_cast<AlignHint>(found->second);
    }
    int GetPrecision(int rs, int col) override {
        const auto found = precisions.find(col);
        return found == precisions.end() ? AppendOnlyResultsStorage::GetPrecision(rs, col) : found->second;
    }
    std::map<int, int> hints;  // by column
    std::map<int, int> precisions;
};

inline std::vector<std::string> Labels(DataStorage& store, int resultSet) {
    std::vector<std::string> labels;
    for (int column = 0; column < store.GetNumberOfColumns(resultSet); ++column)
        labels.push_back(store.GetColumnLabel(resultSet, column));
    return labels;
}

inline std::vector<std::vector<std::string>> Cells(DataStorage& store, int resultSet) {
    std::vector<std::vector<std::string>> rows(store.GetNumberOfRows(resultSet));
    for (int row = 0; row < static_cast<int>(rows.size()); ++row)
        for (int column = 0; column < store.GetNumberOfColumns(resultSet); ++column)
            rows[row].push_back(store.GetString(resultSet, row, column));
    return rows;
}

// Values that a script must not stumble over; `backslashes`: those too that MySQL reads in a way of its own.
inline std::vector<std::string> OddTexts(bool backslashes) {
    std::vector<std::string> texts = {"plain", "it's", "'",
                                      "''",    "a\nb", "-- no comment",
                                      "/* no", ";",    "a;b",
                                      "\"q\"", "`b`",  "",
                                      "   ",   "go",   "\xC3\xA4\xF0\x9F\x98\x80",
                                      "NULL",  "#",    "VALUES ( 'x' )"};
    if (backslashes)
        for (const char* text : {"\\", "a\\'b", "\\n"})
            texts.push_back(text);
    return texts;
}

// A folder, a cancel flag, a callback and a store; files are named `file` unless told otherwise.
class PersistenceTest : public ::testing::Test {
  protected:
    std::string WriteAll(ResultFileType type, const std::function<void(Persistence&)>& settings = nullptr) {
        Persistence persistence(type, cancel, &callback, store);
        persistence.SetFileName(file.c_str());
        if (settings)
            settings(persistence);
        EXPECT_TRUE(persistence.WriteAllResultSets());
        return ReadWholeFile(file);
    }
    bool ReadBytes(const std::string& bytes, ResultFileType type = ResultFileComma,
                   const std::function<void(Persistence&)>& settings = nullptr) {
        WriteWholeFile(file, bytes);
        Persistence persistence(type, cancel, &callback, store);
        persistence.SetFileName(file.c_str());
        if (settings)
            settings(persistence);
        return persistence.ReadAllResultSets();
    }

    // Takes an OddStore's place; the handle owns it.
    OddStore& UseOddStore() {
        OddStore* const odd = new OddStore;
        store = SmartPtr<DataStorage>(new DataStorage(odd));
        return *odd;
    }
    // Reads the file back into a new store, which takes the place of the old one.
    bool ReadBack(ResultFileType type) {
        store = NewStore();
        Persistence persistence(type, cancel, &callback, store);
        persistence.SetFileName(file.c_str());
        return persistence.ReadAllResultSets();
    }

    TempFolder folder;
    std::string file = folder.Path("file.txt");
    std::atomic<bool> cancel{false};
    RecordingCallback callback;
    SmartPtr<DataStorage> store = NewStore();
};

}  // namespace qxdbsqlengine
