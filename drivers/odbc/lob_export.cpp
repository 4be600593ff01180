#include "drivers/odbc/lob_export.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "drivers/odbc/long_reader.h"
#include "drivers/odbc/temporary_table.h"
#include "drivers/odbc/transaction.h"
#include "platform/os/replacing_file.h"

namespace qxdrivers::odbc {

namespace {

constexpr std::size_t pieceBytes = 64 * 1024;
// Of a value that a driver keeps whole, in several forms: how many bytes are asked for at once.
constexpr __int64 partBytes = 1024 * 1024;
constexpr __int64 copiedPartBytes = 4 * partBytes;  // where a part costs the server all of the value

// Bytes in the order of the value, however many that are. False for NULL.
bool WriteValue(StatementCore& core, LongReader::Form form, qxos::ReplacingFile& file) {
    LongReader reader;
    reader.Open(core, 1, form);
    if (reader.IsNull()) {
        return false;
    }
    std::vector<char> piece(pieceBytes);
    while (const std::size_t count = reader.Read(piece.data(), piece.size())) {
        file.Write(piece.data(), count);
    }
    return true;
}

// The value as bytes that the server makes of it: whatever character set the connection has, no character is
// lost on its way.
std::string BytesOf(const LobPlace& place, Family family) {
    if (place.type.kind != ValueKind::CharacterLob) {
        return place.column;
    }
    return family == Family::MySQL ? "CONVERT(CONVERT(" + place.column + " USING utf8mb4) USING binary)"
                                   : "convert_to(" + place.column + ", 'UTF8')";
}

// What a piece of the value is asked for as, on a server of which no more is known.
LongReader::Form FormOf(const ValueType& type, const ServerTraits& traits) {
    return type.kind == ValueKind::BinaryLob ? LongReader::Form::Bytes
           : traits.narrowText               ? LongReader::Form::Narrow
                                             : LongReader::Form::Wide;
}

void WriteWhole(const LobPlace& place, const std::shared_ptr<Session>& session, const Condition& condition,
                bool asBytes, qxos::ReplacingFile& file) {
    const ServerTraits& traits = session->Traits();
    const std::string value = asBytes ? BytesOf(place, traits.family) : place.column;
    Execution reading(session, "SELECT " + value + " FROM " + place.source + condition.sql, condition);
    reading.BindCondition(0);
    reading.Execute();
    if (!reading.Fetch()) {
        ThrowRowGone(place);
    }
    WriteValue(reading.Core(), asBytes ? LongReader::Form::Bytes : FormOf(place.type, traits), file);
    if (reading.Fetch()) {
        ThrowRowNotAlone(place, 1);
    }
}

// An answer must fit a packet, as all that goes to or from MySQL.
__int64 PartThatFits(const Session& session, __int64 wanted) {
    constexpr __int64 smallestPart = 512;
    const __int64 packet = session.QueryNumber("SELECT @@max_allowed_packet", 2 * wanted);
    return std::clamp(packet / 2, smallestPart, wanted);
}

void WritePart(const std::shared_ptr<Session>& session, const std::string& sql, qxos::ReplacingFile& file) {
    Execution reading(session, sql, Condition());
    reading.Execute();
    if (!reading.Fetch() || !WriteValue(reading.Core(), LongReader::Form::Bytes, file)) {
        ThrowRefusal("The server does not hand out a part of the large object", "HY000");
    }
}

// The numbers from 0 on that times `step` are not beyond the longest value there can be, as a table.
std::string NumbersBySteps(__int64 step) {
    constexpr __int64 longestValue = 0xFFFFFFFF;
    std::string digits = "(SELECT 0 AS d";
    for (int i = 1; i < 10; ++i) {
        digits += " UNION ALL SELECT " + std::to_string(i);
    }
    std::string sum;
    std::string tables;
    for (__int64 place = 1; place <= longestValue / step; place *= 10) {
        const std::string name = "d" + std::to_string(place);
        sum += (sum.empty() ? "" : " + ") + name + ".d * " + std::to_string(place);
        tables += (tables.empty() ? "" : " CROSS JOIN ") + digits + ") AS " + name;
    }
    return "(SELECT " + sum + " AS i FROM " + tables + ") AS numbers";
}

// Parts of a value for MySQL's driver, which has every result whole in memory. To read them from the table
// would make the server read all of the value for each; so they become the rows of a table of the
// connection's own first, in one reading.
void WriteByTable(const LobPlace& place, const std::shared_ptr<Session>& session, const Condition& condition,
                  const TemporaryTable& parts, qxos::ReplacingFile& file) {
    const __int64 part = PartThatFits(*session, partBytes);
    const std::string size = std::to_string(part);
    Execution filling(session,
                      "INSERT INTO " + parts.Name() + " SELECT i, SUBSTRING(v, i * " + size + " + 1, " +
                          size + ") FROM (SELECT (SELECT COALESCE(" + BytesOf(place, Family::MySQL) +
                          ", '') FROM " + place.source + condition.sql +
                          ") AS v LIMIT 1) AS whole CROSS JOIN " + NumbersBySteps(part) +
                          " WHERE i = 0 OR i * " + size + " < OCTET_LENGTH(v)",
                      condition);
    filling.BindCondition(0);
    filling.Execute();
    const __int64 count = QueryRow(session, "SELECT COUNT(v) FROM " + parts.Name(), Condition());
    if (count == 0) {
        ThrowRowGone(place);
    }
    for (__int64 i = 0; i < count; ++i) {
        WritePart(session, "SELECT v FROM " + parts.Name() + " WHERE n = " + std::to_string(i), file);
    }
}

// The same for a user who may not have such a table: a variable of the session, which the server copies for
// each part.
class SessionVariable {
  public:
    SessionVariable(const LobPlace& place, const std::shared_ptr<Session>& owner, const Condition& condition)
        : session(owner) {
        Execution keeping(session,
                          std::string("SET ") + name + " = (SELECT COALESCE(" +
                              BytesOf(place, Family::MySQL) + ", '') FROM " + place.source + condition.sql +
                              ")",
                          condition);
        keeping.BindCondition(0);
        keeping.Execute();
    }
    ~SessionVariable() {
        try {
            session->RunSilently(std::string("SET ") + name + " = NULL");
        } catch (...) {
            // The connection is lost, and its variables with it.
        }
    }
    SessionVariable(const SessionVariable&) = delete;
    SessionVariable& operator=(const SessionVariable&) = delete;

    void Write(const LobPlace& place, qxos::ReplacingFile& file) const {
        const __int64 part = PartThatFits(*session, copiedPartBytes);
        const __int64 length =
            QueryRow(session, std::string("SELECT COALESCE(OCTET_LENGTH(") + name + "), -1)", Condition());
        if (length < 0) {
            ThrowRowGone(place);
        }
        for (__int64 done = 0; done < length; done += part) {
            WritePart(session,
                      std::string("SELECT SUBSTRING(") + name + ", " + std::to_string(done + 1) + ", " +
                          std::to_string(part) + ")",
                      file);
        }
    }

  private:
    static constexpr const char* name = "@qxodbc_lob";
    const std::shared_ptr<Session> session;
};

void WriteFromMySQL(const LobPlace& place, const std::shared_ptr<Session>& session,
                    const Condition& condition, qxos::ReplacingFile& file) {
    std::optional<TemporaryTable> parts;
    try {
        parts.emplace(place, *session, "n INT PRIMARY KEY, v LONGBLOB");
    } catch (const Errors&) {
        SessionVariable(place, session, condition).Write(place, file);
        return;
    }
    WriteByTable(place, session, condition, *parts, file);
}

// The same for PostgreSQL, by a cursor whose rows are the parts. The value is taken together once: a plain
// column would be unpacked from its start for each part, and without OFFSET 0 it would be converted again.
void WriteByCursor(const LobPlace& place, const std::shared_ptr<Session>& session, const Condition& condition,
                   qxos::ReplacingFile& file) {
    const std::string size = std::to_string(partBytes);
    OwnTransaction transaction(*session);
    session->RunSilently("DECLARE qxodbc_lob NO SCROLL CURSOR FOR SELECT substring(v FROM i FOR " + size +
                         ") FROM (SELECT (SELECT coalesce(" + BytesOf(place, Family::PostgreSQL) +
                         ", '') || ''::bytea FROM " + place.source + condition.sql +
                         ") AS v OFFSET 0) s CROSS JOIN LATERAL generate_series(1, " +
                         "greatest(octet_length(v), 1), " + size + ") i");
    for (;;) {
        Execution part(session, "FETCH 1 FROM qxodbc_lob", Condition());
        part.Execute();
        if (!part.Fetch()) {
            break;
        }
        if (!WriteValue(part.Core(), LongReader::Form::Bytes, file)) {
            ThrowRowGone(place);
        }
    }
    session->RunSilently("CLOSE qxodbc_lob");
    transaction.Commit();
}

void WriteLob(const LobPlace& place, const std::shared_ptr<Session>& session, const Condition& condition,
              qxos::ReplacingFile& file) {
    const Family family = session->Traits().family;
    const bool keepsRows = family == Family::MySQL || family == Family::PostgreSQL;
    const bool isLong =
        keepsRows &&
        QueryRow(session,
                 "SELECT MAX(OCTET_LENGTH(" + place.column + ")) FROM " + place.source + condition.sql,
                 condition) > partBytes / 4;  // of which UTF-8 makes no more than a part
    if (!isLong) {
        WriteWhole(place, session, condition, keepsRows, file);
    } else if (family == Family::MySQL) {
        WriteFromMySQL(place, session, condition, file);
    } else {
        WriteByCursor(place, session, condition, file);
    }
}

// What `write` writes becomes the file.
template <class Write>
void ReplaceFile(const std::string& fileName, Write&& write) {
    try {
        qxos::ReplacingFile file(fileName);
        write(file);
        file.Commit();
    } catch (const qxos::FileError& error) {
        ThrowRefusal(error.what(), "58030");
    }
}

}  // namespace

void ExportLob(const LobPlace& place, const std::shared_ptr<Session>& session, const Condition& condition,
               const std::string& fileName) {
    ReplaceFile(fileName, [&](qxos::ReplacingFile& file) { WriteLob(place, session, condition, file); });
}

void ExportByResult(const LobPlace& place, const std::shared_ptr<Session>& session,
                    const Condition& condition, const std::string& fileName) {
    ReplaceFile(fileName,
                [&](qxos::ReplacingFile& file) { WriteWhole(place, session, condition, false, file); });
}

}  // namespace qxdrivers::odbc
