#include "drivers/sqlite/lob_transfer.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "drivers/sqlite/failure.h"
#include "drivers/sqlite/query.h"
#include "drivers/sqlite/table_info.h"
#include "drivers/sqlite/utf16_text.h"
#include "drivers/sqlite/value_text.h"
#include "platform/os/file_mapping.h"
#include "platform/os/replacing_file.h"
#include "platform/os/source_file.h"
#include "platform/qxsplt/errors.h"

namespace qxdrivers::sqlite {

namespace {

constexpr int pieceBytes = 256 * 1024;

// --- The row ---

// A quoted name that stands for nothing would be taken for a text.
void RequireColumn(const LobPlace& place, const TableInfo& info, const std::string& column) {
    const auto isColumn = [&](const std::string& known) {
        return sqlite3_stricmp(known.c_str(), column.c_str()) == 0;
    };
    const bool isRowNumber = !info.rowNumber.empty() && sqlite3_stricmp(column.c_str(), "rowid") == 0;
    if (!isRowNumber && std::none_of(info.columns.begin(), info.columns.end(), isColumn) &&
        std::none_of(info.generated.begin(), info.generated.end(), isColumn)) {
        ThrowRefusal("The table " + place.table.table + " has no column " + column + " any more", "42S22");
    }
}

TableInfo RequireTable(const LobPlace& place, Database& database) {
    std::optional<TableInfo> info = FindTable(database, place.table);
    if (!info) {
        ThrowRefusal("The table " + place.table.table + " of the large object is not there any more",
                     "42S02");
    }
    RequireColumn(place, *info, place.column);
    for (const FindingColumn& column : place.columns) {
        RequireColumn(place, *info, column.name);
    }
    return *info;
}

// The one row that a condition finds.
struct FoundRow {
    RowCondition condition;
    __int64 number = 0;   // 0 in a table without row numbers
    std::string storage;  // "text" and so on
};

FoundRow FindRow(const LobPlace& place, Database& database, const TableInfo& info,
                 const std::list<std::string>* rowValues) {
    FoundRow row{RowCondition(place, rowValues), 0, std::string()};
    Query rows(database, "SELECT " + (info.rowNumber.empty() ? "0" : info.rowNumber) + ", typeof(" +
                             QuoteName(place.column) + ") FROM " + place.table.Quoted() +
                             row.condition.Sql() + " LIMIT 2");
    row.condition.AddTo(rows);
    if (!rows.Step()) {
        ThrowRefusal("The row of the large object is not in " + place.table.table + " any more", "02000");
    }
    row.number = rows.Number(0);
    row.storage = rows.Text(1);
    if (rows.Step()) {
        ThrowRefusal("The row of the large object can't be told from others in " + place.table.table,
                     "02000");
    }
    return row;
}

// Access to the pieces of a value.
class ValuePieces {
  public:
    explicit ValuePieces(Database& owner) : database(owner) {}
    ~ValuePieces() { sqlite3_blob_close(blob); }
    ValuePieces(const ValuePieces&) = delete;
    ValuePieces& operator=(const ValuePieces&) = delete;

    // Throws Errors, also where SQLite has no such access.
    void Open(const LobPlace& place, __int64 row, bool writes) {
        Check(sqlite3_blob_open(database.Handle(), place.table.schema.c_str(), place.table.table.c_str(),
                                place.column.c_str(), row, writes ? 1 : 0, &blob));
    }
    int GetSize() const { return sqlite3_blob_bytes(blob); }
    void Read(char* target, int count, int offset) { Check(sqlite3_blob_read(blob, target, count, offset)); }
    void Write(const char* source, int count, int offset) {
        Check(sqlite3_blob_write(blob, source, count, offset));
    }
    // The last write may fail here.
    void Close() {
        sqlite3_blob* const closing = blob;
        blob = nullptr;
        Check(sqlite3_blob_close(closing));
    }

  private:
    void Check(int code) const {
        if (code != SQLITE_OK) {
            database.ThrowFailed(RunControl(), code, Stage::Run, Place());
        }
    }

    Database& database;
    sqlite3_blob* blob = nullptr;
};

// --- Export ---

std::string EncodingOf(Database& database) {
    Query encoding(database, "PRAGMA encoding");
    return encoding.Step() ? encoding.Text(0) : std::string();
}

void WritePieces(ValuePieces& value, Utf16Reader* reader, qxos::ReplacingFile& file) {
    const int size = value.GetSize();
    std::vector<char> piece(static_cast<std::size_t>(std::min(size, pieceBytes)));
    std::string text;
    for (int offset = 0; offset < size; offset += pieceBytes) {
        const int count = std::min(size - offset, pieceBytes);
        value.Read(piece.data(), count, offset);
        if (!reader) {
            file.Write(piece.data(), static_cast<std::size_t>(count));
            continue;
        }
        text.clear();
        reader->Add({piece.data(), static_cast<std::size_t>(count)}, text);
        file.Write(text.data(), text.size());
    }
    if (reader) {
        text.clear();
        reader->Finish(text);
        file.Write(text.data(), text.size());
    }
}

// The value as the driver reads it elsewhere: numbers as their texts, text in UTF-8.
void WriteWhole(const LobPlace& place, Database& database, const FoundRow& row, qxos::ReplacingFile& file) {
    Query value(database,
                "SELECT " + QuoteName(place.column) + " FROM " + place.table.Quoted() + row.condition.Sql());
    row.condition.AddTo(value);
    if (!value.Step()) {
        return;
    }
    sqlite3_value* const stored = sqlite3_column_value(value.Raw(), 0);
    if (row.storage == "integer" || row.storage == "real") {
        std::string digits;
        AppendValue(stored, digits);
        file.Write(digits.data(), digits.size());
        return;
    }
    const std::string_view bytes = BytesOf(stored);
    if (bytes.empty() && sqlite3_errcode(database.Handle()) == SQLITE_NOMEM) {
        database.ThrowFailed(RunControl(), SQLITE_NOMEM, Stage::Run, Place());
    }
    file.Write(bytes.data(), bytes.size());
}

void RequireFittingValue(const LobPlace& place, const FoundRow& row) {
    const bool isNumber = row.storage == "integer" || row.storage == "real";
    if (place.binary ? isNumber : row.storage == "blob") {
        ThrowRefusal("The value of column " + place.column + " in " + place.table.table +
                         " is no large object of its type: SQLite has it as " + row.storage,
                     "22018");
    }
}

// Tables without row numbers and with computed columns have no pieces.
bool HasPieces(const TableInfo& info) {
    return !info.rowNumber.empty() && info.generated.empty();
}

void WriteValue(const LobPlace& place, Database& database, const std::list<std::string>* rowValues,
                qxos::ReplacingFile& file) {
    OwnTransaction transaction(database, false);
    const TableInfo info = RequireTable(place, database);
    const FoundRow row = FindRow(place, database, info, rowValues);
    RequireFittingValue(place, row);
    if (HasPieces(info) && (row.storage == "text" || row.storage == "blob")) {
        ValuePieces value(database);
        value.Open(place, row.number, false);
        const std::string encoding = row.storage == "text" ? EncodingOf(database) : std::string();
        Utf16Reader reader(encoding == "UTF-16be");
        WritePieces(value, encoding.rfind("UTF-16", 0) == 0 ? &reader : nullptr, file);
    } else if (row.storage != "null") {
        WriteWhole(place, database, row, file);
    }
    transaction.Commit();
}

// --- Import ---

[[noreturn]] void ThrowTooLarge(const LobPlace& place, const std::string& fileName, __int64 size,
                                Database& database) {
    const bool isWide = !place.binary && EncodingOf(database).rfind("UTF-16", 0) == 0;
    ThrowFailure(SQLITE_TOOBIG,
                 "\"" + fileName + "\" has " + std::to_string(size) +
                     " bytes; the database takes no row of more than " +
                     std::to_string(sqlite3_limit(database.Handle(), SQLITE_LIMIT_LENGTH, -1)) +
                     (isWide ? ", in UTF-16" : ""),
                 "54000", Place());
}

// A file on its way into a value. It has to stay as it was when it was opened.
class Source {
  public:
    explicit Source(const std::string& file) : name(file), source(file) {
        if (!source.IsRegular()) {
            ThrowRefusal("\"" + name + "\" can't be read: it is no regular file", "58030");
        }
    }
    const std::string& Name() const { return name; }
    __int64 GetSize() const { return source.GetSize(); }
    // The next bytes.
    void Read(char* target, std::size_t count) {
        const std::size_t got = source.Read(target, count);
        if (got != count) {
            ThrowChanged();
        }
    }
    // Behind the last byte.
    void RequireEnd() {
        char more = 0;
        if (source.Read(&more, 1) != 0) {
            ThrowChanged();
        }
    }

  private:
    [[noreturn]] void ThrowChanged() const {
        ThrowRefusal("\"" + name + "\" changed while it was read: it had " +
                         std::to_string(source.GetSize()) + " bytes",
                     "58030");
    }

    const std::string name;
    qxos::SourceFile source;
};

// The bytes of a file in memory that the system may take back: a copy of its own, since a file that another
// process cuts off under a view would end this one.
class CopyOfSource {
  public:
    explicit CopyOfSource(Source& source) {
        const auto size = static_cast<std::size_t>(source.GetSize());
        if (size <= static_cast<std::size_t>(pieceBytes)) {
            small.resize(size);
            source.Read(small.data(), size);
            bytes = {small.data(), size};
        } else {
            auto* const target = static_cast<char*>(MakeView(source.GetSize()));
            for (std::size_t done = 0; done < size; done += pieceBytes) {
                source.Read(target + done, std::min(size - done, static_cast<std::size_t>(pieceBytes)));
            }
            bytes = {target, size};
        }
        source.RequireEnd();
    }
    ~CopyOfSource() {
        mapping.Close();
        copy.Close();
    }
    CopyOfSource(const CopyOfSource&) = delete;
    CopyOfSource& operator=(const CopyOfSource&) = delete;

    std::string_view Bytes() const { return bytes; }

  private:
    void* MakeView(__int64 size) {
        void* view = nullptr;
        if (copy.Create("QXLB_") && mapping.Open(copy, size)) {
            view = mapping.MapView(0, static_cast<std::size_t>(size));
        }
        if (view == nullptr) {
            ThrowRefusal("There is no room for a copy of " + std::to_string(size) + " bytes in " +
                             qxos::TempDirectory(),
                         "53100");
        }
        return view;
    }

    std::string small;
    qxos::TempFile copy;
    qxos::FileMapping mapping;
    std::string_view bytes;
};

// The only statement of an import that changes anything.
class Update {
  public:
    Update(const LobPlace& place, Database& owner, const TableInfo& info, const FoundRow& row)
        : database(owner),
          table(place.table.table),
          query(owner,
                "UPDATE " + place.table.Quoted() + " SET " + QuoteName(place.column) + " = ?" +
                    (info.rowNumber.empty() ? row.condition.Sql() : " WHERE " + info.rowNumber + " = ?")) {}
    Query& Value() { return query; }
    void Run(const TableInfo& info, const FoundRow& row) {
        if (info.rowNumber.empty()) {
            row.condition.AddTo(query);
        } else {
            query.Add(row.number);
        }
        query.Step();
        if (sqlite3_changes64(database.Handle()) != 1) {
            ThrowRefusal("The row of the large object in " + table + " was not changed: a trigger keeps it",
                         "HY000");
        }
    }

  private:
    Database& database;
    const std::string table;
    Query query;
};

// SQLite makes room for bytes without having them in memory only at the end of a row.
bool OnlyNullsFollow(const LobPlace& place, Database& database, const TableInfo& info, const FoundRow& row) {
    std::string condition;
    bool isBehind = false;
    for (const std::string& column : info.columns) {
        if (isBehind && column != info.rowNumberColumn) {
            condition += (condition.empty() ? "" : " OR ") + ("typeof(" + QuoteName(column) + ") <> 'null'");
        }
        isBehind = isBehind || sqlite3_stricmp(column.c_str(), place.column.c_str()) == 0;
    }
    if (condition.empty()) {
        return true;
    }
    Query followers(database, "SELECT 1 FROM " + place.table.Quoted() + " WHERE " + info.rowNumber +
                                  " = ? AND (" + condition + ")");
    return !followers.Add(row.number).Step();
}

bool CanTakePieces(const LobPlace& place, Database& database, const TableInfo& info, const FoundRow& row) {
    return place.binary && HasPieces(info) && OnlyNullsFollow(place, database, info, row) &&
           !IsColumnWatched(database, place.table, place.column);
}

void ReadPieces(const LobPlace& place, Database& database, const TableInfo& info, const FoundRow& row,
                Source& source) {
    {
        Update update(place, database, info, row);
        update.Value().AddZeros(source.GetSize());
        update.Run(info, row);
    }
    ValuePieces value(database);
    value.Open(place, row.number, true);
    const int size = static_cast<int>(source.GetSize());
    std::vector<char> piece(pieceBytes);
    for (int offset = 0; offset < size; offset += pieceBytes) {
        const int count = std::min(size - offset, pieceBytes);
        source.Read(piece.data(), static_cast<std::size_t>(count));
        value.Write(piece.data(), count, offset);
    }
    source.RequireEnd();
    value.Close();
}

void ReadWhole(const LobPlace& place, Database& database, const TableInfo& info, const FoundRow& row,
               Source& source) {
    const CopyOfSource copy(source);
    Update update(place, database, info, row);
    update.Value().AddOwnedByCaller(copy.Bytes(), !place.binary);
    update.Run(info, row);
}

void ReadValue(const LobPlace& place, Database& database, const std::list<std::string>* rowValues,
               Source& source) {
    OwnTransaction transaction(database, true);
    const TableInfo info = RequireTable(place, database);
    const FoundRow row = FindRow(place, database, info, rowValues);
    if (source.GetSize() > pieceBytes && CanTakePieces(place, database, info, row)) {
        ReadPieces(place, database, info, row, source);
    } else {
        ReadWhole(place, database, info, row, source);
    }
    transaction.Commit();
}

bool IsTooLarge(const Errors& errors) {
    errors.Reset();
    const bool isTooLarge = errors.MoreErrors() && errors.GetNextError().GetErrorCode() == SQLITE_TOOBIG;
    errors.Reset();
    return isTooLarge;
}

}  // namespace

void ExportLob(const LobPlace& place, Database& database, const std::list<std::string>* rowValues,
               const std::string& fileName) {
    try {
        qxos::ReplacingFile file(fileName);
        WriteValue(place, database, rowValues, file);
        file.Commit();
    } catch (const qxos::FileError& error) {
        ThrowRefusal(error.what(), "58030");
    }
}

void ImportLob(const LobPlace& place, Database& database, const std::list<std::string>* rowValues,
               const std::string& fileName) {
    try {
        Source source(fileName);
        if (source.GetSize() > sqlite3_limit(database.Handle(), SQLITE_LIMIT_LENGTH, -1)) {
            ThrowTooLarge(place, fileName, source.GetSize(), database);
        }
        try {
            ReadValue(place, database, rowValues, source);
        } catch (const Errors& errors) {
            // The other columns need room too.
            if (IsTooLarge(errors)) {
                ThrowTooLarge(place, fileName, source.GetSize(), database);
            }
            throw;
        }
    } catch (const qxos::FileError& error) {
        ThrowRefusal(error.what(), "58030");
    }
}

}  // namespace qxdrivers::sqlite
