#include "benchmarks/bench_table.h"

#include <sqlite3.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <future>

#include "engine/director.h"
#include "engine/single_connection.h"
#include "platform/qxsplt/errors.h"
#include "request/sql_request.h"

namespace qxbench {

using namespace qxdbsqlengine;

const char SelectAll[] = "SELECT id, small, price, ratio, name, note, placed, flag FROM bench";

namespace {

// Steele and Vigna's splitmix64: a fixed, well spread number for each row.
std::uint64_t Mix(std::uint64_t number) {
    number += 0x9E3779B97F4A7C15U;
    number = (number ^ (number >> 30U)) * 0xBF58476D1CE4E5B9U;
    number = (number ^ (number >> 27U)) * 0x94D049BB133111EBU;
    return number ^ (number >> 31U);
}

const char* const Syllables[] = {"ba",  "cor", "del", "fin", "Gra", "hol", "ist", "Jur", "kan", "lem",
                                 "mor", "nad", "Oss", "pel", "qui", "ran", "sol", "Tur", "ven", "wyl"};
const char* const Words[] = {"order ",   "by phone, ", "sent ",        "late ",       "paid ",
                             "in cash ", "gift ",      "for ",         "a \"good\" ", "customer ",
                             "of the ",  "house ",     "please call ", "again "};

void MakeName(std::uint64_t bits, std::string& name) {
    name.clear();
    const int syllables = 3 + static_cast<int>(bits % 3);
    bits /= 3;
    for (int i = 0; i < syllables; ++i) {
        name += Syllables[bits % 20];
        bits /= 20;
    }
    if (bits % 2 == 0)
        name += ' ';
    name += std::to_string(bits / 2 % 100000);
    while (name.size() < 8)
        name += 'x';
    name.resize(std::min<std::size_t>(name.size(), 24));
}

void MakeNote(std::uint64_t bits, std::string& note) {
    note.clear();
    const std::size_t length = 30 + bits % 51;
    bits /= 51;
    while (note.size() < length) {
        note += Words[bits % 14];
        bits = bits / 14 + (bits % 14) * 0x9E3779B97F4A7U;
    }
    note.resize(length);
}

[[noreturn]] void Fail(const char* what, const std::string& why) {
    std::fprintf(stderr, "%s: %s\n", what, why.c_str());
    std::exit(1);
}

void Check(int code, sqlite3* db, const char* what) {
    if (code != SQLITE_OK && code != SQLITE_DONE && code != SQLITE_ROW)
        Fail(what, sqlite3_errmsg(db));
}

void FillTable(sqlite3* db) {
    Check(sqlite3_exec(
              db,
              "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; "
              "CREATE TABLE bench (id INTEGER PRIMARY KEY, small SMALLINT, price DECIMAL(12,2), "
              "ratio DOUBLE, name VARCHAR(24), note VARCHAR(80), placed TIMESTAMP(0), flag INT); BEGIN",
              nullptr, nullptr, nullptr),
          db, "create table");
    sqlite3_stmt* insert = nullptr;
    Check(sqlite3_prepare_v2(db, "INSERT INTO bench VALUES (?, ?, ?, ?, ?, ?, ?, ?)", -1, &insert, nullptr),
          db, "prepare");
    Row row;
    for (int i = 0; i < TableRows; ++i) {
        MakeRow(i, row);
        char time[19];
        AppendTime(time, row.placed);
        sqlite3_bind_int64(insert, 1, row.id);
        sqlite3_bind_int(insert, 2, row.small);
        sqlite3_bind_double(insert, 3, static_cast<double>(row.cents) / 100.0);
        sqlite3_bind_double(insert, 4, row.ratio);
        sqlite3_bind_text(insert, 5, row.name.data(), static_cast<int>(row.name.size()), SQLITE_STATIC);
        if (row.noteIsNull)
            sqlite3_bind_null(insert, 6);
        else
            sqlite3_bind_text(insert, 6, row.note.data(), static_cast<int>(row.note.size()), SQLITE_STATIC);
        sqlite3_bind_text(insert, 7, time, sizeof time, SQLITE_STATIC);
        sqlite3_bind_int(insert, 8, row.flag);
        Check(sqlite3_step(insert), db, "insert");
        sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    Check(sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr), db, "commit");
}

class TableFileOwner {
  public:
    TableFileOwner() {
        std::string pattern = (std::filesystem::temp_directory_path() / "qxbench_XXXXXX").string();
        const int file = mkstemp(pattern.data());
        if (file < 0)
            Fail("temporary file", pattern);
        close(file);
        name = pattern;
        sqlite3* db = nullptr;
        Check(sqlite3_open(name.c_str(), &db), db, "open");
        FillTable(db);
        sqlite3_close(db);
    }
    ~TableFileOwner() { std::filesystem::remove(name); }
    std::string name;
};

class RunEnd final : public RequestCallback, public ErrorCallback {
  public:
    std::promise<void> ended;
    void OnRequestBegin(double) override {}
    void OnRequestEnd(double) override { ended.set_value(); }
    void OnCancelFailed(double) override {}
    void OnError(const Errors& errors) override { Fail("run", errors.GetNextError().GetErrorDescription()); }
};

}  // namespace

void MakeRow(std::int64_t number, Row& row) {
    const auto bits = Mix(static_cast<std::uint64_t>(number));
    row.id = number + 1;
    row.small = static_cast<short>(bits % 65536 - 32768);
    row.cents = static_cast<std::int64_t>(bits / 7 % 2000000000U) - 500000000;
    row.ratio = static_cast<double>(bits >> 11U) / 9007199254740992.0 * 1000.0;
    MakeName(Mix(bits), row.name);
    row.noteIsNull = bits % 10 == 0;
    row.note.clear();
    if (!row.noteIsNull)
        MakeNote(Mix(bits + 1), row.note);
    row.placed = {1990 + static_cast<int>(bits % 35),    1 + static_cast<int>(bits / 35 % 12),
                  1 + static_cast<int>(bits / 420 % 28), static_cast<int>(bits / 11760 % 24),
                  static_cast<int>(bits / 282240 % 60),  static_cast<int>(bits / 16934400 % 60)};
    row.flag = static_cast<int>(bits >> 63U);
}

char* AppendTime(char* to, const PlainTime& time) {
    const auto two = [&to](int value) {
        *to++ = static_cast<char>('0' + value / 10);
        *to++ = static_cast<char>('0' + value % 10);
    };
    two(time.year / 100);
    two(time.year % 100);
    *to++ = '-';
    two(time.month);
    *to++ = '-';
    two(time.day);
    *to++ = ' ';
    two(time.hour);
    *to++ = ':';
    two(time.minute);
    *to++ = ':';
    two(time.second);
    return to;
}

const std::string& TableFile() {
    static const TableFileOwner owner;
    return owner.name;
}

const PlainTable& Plain() {
    static const PlainTable table = [] {
        PlainTable made;
        Row row;
        for (int i = 0; i < TableRows; ++i) {
            MakeRow(i, row);
            made.id.push_back(row.id);
            made.small.push_back(row.small);
            made.cents.push_back(row.cents);
            made.ratio.push_back(row.ratio);
            made.names.insert(made.names.end(), row.name.begin(), row.name.end());
            made.nameOffsets.push_back(static_cast<std::int64_t>(made.names.size()));
            made.notes.insert(made.notes.end(), row.note.begin(), row.note.end());
            made.noteOffsets.push_back(static_cast<std::int64_t>(made.notes.size()));
            made.noteIsNull.push_back(row.noteIsNull);
            made.placed.push_back(row.placed);
            made.flag.push_back(row.flag);
        }
        return made;
    }();
    return table;
}

SmartPtr<DataStorage> LoadStore(const std::string& sql) {
    return LoadStore(qxdb::ConnectionDef(qxdb::DBTYPE_SQLITE, TableFile(), "", "", "sqlite", ""), sql);
}

SmartPtr<DataStorage> LoadStore(const qxdb::ConnectionDef& place, const std::string& sql) {
    const SmartPtr<ConnectionRequestCallback> connections(new SingleConnection(place));
    const qxdbsrd::ConnectionDefElement definition(place.GetType(), place.GetDataSource(), 0.0, "", "");
    RunEnd end;
    CSingleRequestDirector director(definition, connections, nullptr, "", true);
    director.RegisterCallback(static_cast<RequestCallback&>(end));
    director.RegisterCallback(static_cast<ErrorCallback&>(end));
    director.Execute(sql, SQLRequest::RequestSQL, false, false);
    end.ended.get_future().wait();
    return director.GetDataStorage();
}

DataStorage& SharedStore() {
    static const SmartPtr<DataStorage> store = LoadStore(SelectAll);
    return *Loki::GetImplRef(store);
}

}  // namespace qxbench
