// The table of all benchmarks: 2,000,000 rows of eight columns, the same in a SQLite file, in a store and in
// plain vectors.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/qxdb/manager.h"
#include "platform/smart_ptr.h"
#include "storage/data_storage.h"

namespace qxbench {

constexpr int TableRows = 2000000;
constexpr int TableColumns = 8;

// A date and time to the second.
struct PlainTime {
    int year, month, day, hour, minute, second;
};

// One row as its number determines it; the same in every run.
struct Row {
    std::int64_t id;
    short small;
    std::int64_t cents;  // a decimal of two digits behind the point
    double ratio;
    std::string name;  // 8 to 24 bytes, with digit runs
    std::string note;  // 30 to 80 bytes
    bool noteIsNull;   // one row in ten
    PlainTime placed;
    int flag;
};

// `number` from 0.
void MakeRow(std::int64_t number, Row& row);

// Formats as "yyyy-MM-dd HH:mm:ss", 19 bytes.
char* AppendTime(char* to, const PlainTime& time);

// Values in plain vectors; texts lie in one pool each, value i from offsets[i] to offsets[i + 1].
struct PlainTable {
    std::vector<std::int64_t> id;
    std::vector<short> small;
    std::vector<std::int64_t> cents;
    std::vector<double> ratio;
    std::vector<char> names;
    std::vector<std::int64_t> nameOffsets{0};
    std::vector<char> notes;
    std::vector<std::int64_t> noteOffsets{0};
    std::vector<bool> noteIsNull;
    std::vector<PlainTime> placed;
    std::vector<int> flag;

    std::string_view Name(int row) const {
        return {names.data() + nameOffsets[row],
                static_cast<std::size_t>(nameOffsets[row + 1] - nameOffsets[row])};
    }
    std::string_view Note(int row) const {
        return {notes.data() + noteOffsets[row],
                static_cast<std::size_t>(noteOffsets[row + 1] - noteOffsets[row])};
    }
};

// The SQLite file with table "bench"; made on the first call, deleted at exit.
const std::string& TableFile();
extern const char SelectAll[];

// The table as vectors; made on the first call.
const PlainTable& Plain();

// A store that a director loaded from the file by `sql`. Fails loudly (abort) when the run reports an error.
qxdbsqlengine::SmartPtr<qxdbsqlengine::DataStorage> LoadStore(const std::string& sql);

// The same over a connection of any driver.
qxdbsqlengine::SmartPtr<qxdbsqlengine::DataStorage> LoadStore(const qxdb::ConnectionDef& place,
                                                              const std::string& sql);

// The store of SelectAll, loaded on the first call and shared by the benchmarks that only read.
qxdbsqlengine::DataStorage& SharedStore();

}  // namespace qxbench
