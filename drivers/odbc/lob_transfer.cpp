#include "drivers/odbc/lob_transfer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

#include "drivers/odbc/long_reader.h"
#include "drivers/odbc/transaction.h"
#include "drivers/odbc/wide_text.h"

namespace qxdrivers::odbc {

namespace {

constexpr std::size_t pieceBytes = 64 * 1024;
// Of values that a driver keeps whole: bytes that are asked for at once...
constexpr __int64 partBytes = 16 * 1024 * 1024;
constexpr __int64 cursorPartBytes = 4 * 1024 * 1024;  // the driver has them in several forms
// ...and bytes that are sent at once.
constexpr std::size_t sentBytes = 1024 * 1024;
constexpr std::uintmax_t longestSentWhole = 4 * 1024 * 1024;

LongReader::Form FormOf(const ValueType& type, const ServerTraits& traits) {
    return type.kind == ValueKind::BinaryLob ? LongReader::Form::Bytes
           : traits.narrowText               ? LongReader::Form::Narrow
                                             : LongReader::Form::Wide;
}

[[noreturn]] void ThrowFile(const std::string& fileName, const char* what) {
    ThrowRefusal("\"" + fileName + "\" can't be " + what + ": " + std::strerror(errno), "58030");
}

void WriteValue(StatementCore& core, LongReader::Form form, const std::string& fileName,
                std::ofstream& file) {
    LongReader reader;
    reader.Open(core, 1, form);
    std::vector<char> piece(pieceBytes);
    while (const std::size_t count = reader.Read(piece.data(), piece.size())) {
        file.write(piece.data(), static_cast<std::streamsize>(count));
        if (!file) {
            ThrowFile(fileName, "written");
        }
    }
}

void WriteWhole(const LobPlace& place, const std::shared_ptr<Session>& session, const Condition& condition,
                const std::string& fileName, std::ofstream& file) {
    Execution reading(session, "SELECT " + place.column + " FROM " + place.source + condition.sql, condition);
    reading.BindCondition(0);
    reading.Execute();
    if (reading.Fetch()) {
        WriteValue(reading.Core(), FormOf(place.type, session->Traits()), fileName, file);
    }
}

// A value that waits in a variable of the session, for a driver that has every row whole in memory. To read
// the parts from the table would make the server read all of the value for each.
class SessionVariable {
  public:
    SessionVariable(const LobPlace& place, const std::shared_ptr<Session>& owner, const Condition& condition)
        : session(owner) {
        const bool isText = place.type.kind == ValueKind::CharacterLob;
        const std::string bytes =
            isText ? "CONVERT(CONVERT(" + place.column + " USING utf8mb4) USING binary)" : place.column;
        Execution keeping(session,
                          std::string("SET ") + name + " = (SELECT " + bytes + " FROM " + place.source +
                              condition.sql + ")",
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

    void Write(const std::string& fileName, std::ofstream& file) const {
        const __int64 length =
            QueryRow(session, std::string("SELECT OCTET_LENGTH(") + name + ")", Condition());
        for (__int64 done = 0; done < length; done += partBytes) {
            Execution part(session,
                           std::string("SELECT SUBSTRING(") + name + ", " + std::to_string(done + 1) + ", " +
                               std::to_string(partBytes) + ")",
                           Condition());
            part.Execute();
            part.Fetch();
            WriteValue(part.Core(), LongReader::Form::Bytes, fileName, file);
        }
    }

  private:
    static constexpr const char* name = "@qxodbc_lob";
    const std::shared_ptr<Session> session;
};

// The same for PostgreSQL, by a cursor whose rows are the parts. OFFSET 0 keeps the server from converting
// the value once for each of them.
void WriteByCursor(const LobPlace& place, const std::shared_ptr<Session>& session, const Condition& condition,
                   const std::string& fileName, std::ofstream& file) {
    const bool isText = place.type.kind == ValueKind::CharacterLob;
    const std::string bytes = isText ? "convert_to(" + place.column + ", 'UTF8')" : place.column;
    const std::string size = std::to_string(cursorPartBytes);
    OwnTransaction transaction(*session);
    session->RunSilently("DECLARE qxodbc_lob NO SCROLL CURSOR FOR SELECT substring(v FROM i FOR " + size +
                         ") FROM (SELECT " + bytes + " AS v FROM " + place.source + condition.sql +
                         " OFFSET 0) s CROSS JOIN LATERAL generate_series(1, octet_length(v), " + size +
                         ") i");
    for (bool hasPart = true; hasPart;) {
        Execution part(session, "FETCH 1 FROM qxodbc_lob", Condition());
        part.Execute();
        hasPart = part.Fetch();
        if (hasPart) {
            WriteValue(part.Core(), LongReader::Form::Bytes, fileName, file);
        }
    }
    session->RunSilently("CLOSE qxodbc_lob");
    transaction.Commit();
}

// Hands the file over piece by piece. A character that a piece cuts in two goes with the next one.
void SendFile(const LobPlace& place, std::ifstream& file, StatementCore& core) {
    const bool isWide = FormOf(place.type, core.Traits()) == LongReader::Form::Wide;
    SQLPOINTER which = nullptr;
    core.Call("SQLParamData", [&] { return SQLParamData(core.Raw(), &which); });
    std::vector<char> piece(pieceBytes);
    std::string cut;
    bool isFirst = true;
    for (;;) {
        std::copy(cut.begin(), cut.end(), piece.begin());
        file.read(piece.data() + cut.size(), static_cast<std::streamsize>(piece.size() - cut.size()));
        const std::size_t count = cut.size() + static_cast<std::size_t>(file.gcount());
        cut.clear();
        if (file.bad()) {
            ThrowRefusal("The file can't be read to its end", "58030");
        }
        if (count == 0 && !isFirst) {
            break;
        }
        isFirst = false;
        if (isWide) {
            const std::size_t whole = file.eof() ? count : WholeCharacters({piece.data(), count});
            cut.assign(piece.data() + whole, count - whole);
            WideText wide = ToWide({piece.data(), whole});
            wide.push_back(0);  // so that there is an address
            core.Call("SQLPutData", [&] {
                return SQLPutData(core.Raw(), wide.data(),
                                  static_cast<SQLLEN>((wide.size() - 1) * sizeof(SQLWCHAR)));
            });
        } else {
            core.Call("SQLPutData",
                      [&] { return SQLPutData(core.Raw(), piece.data(), static_cast<SQLLEN>(count)); });
        }
    }
    core.Call("SQLParamData", [&] { return SQLParamData(core.Raw(), &which); });
}

// PostgreSQL's driver has the whole of a parameter in memory, in several forms. The pieces are gathered in an
// object of the server's own, which must not outlive this.
void SendToServerObject(const LobPlace& place, const std::shared_ptr<Session>& session,
                        const Condition& condition, std::ifstream& file) {
    OwnTransaction transaction(*session);
    const std::string object = std::to_string(QueryRow(session, "SELECT lo_create(0)", Condition()));
    ValueType bytesType;
    bytesType.kind = ValueKind::Binary;
    bytesType.bindType = qxdb::Column::BindBinary;
    Condition piece;
    piece.descriptions.emplace_back();
    piece.descriptions.back().type = bytesType;
    piece.values.emplace_back();
    std::vector<char> bytes(sentBytes);
    for (__int64 offset = 0;
         file.read(bytes.data(), static_cast<std::streamsize>(bytes.size())), file.gcount() > 0;
         offset += file.gcount()) {
        piece.values.back() =
            ValueFromBytes(std::string(bytes.data(), static_cast<std::size_t>(file.gcount())));
        Execution put(session, "SELECT lo_put(" + object + ", " + std::to_string(offset) + ", ?)", piece);
        put.BindCondition(0);
        put.Execute();
    }
    if (file.bad()) {
        ThrowRefusal("The file can't be read to its end", "58030");
    }
    const bool isText = place.type.kind == ValueKind::CharacterLob;
    const std::string value =
        isText ? "convert_from(lo_get(" + object + "), 'UTF8')" : "lo_get(" + object + ")";
    Execution writing(session,
                      "UPDATE " + place.source + " SET " + place.column + " = " + value + condition.sql,
                      condition);
    writing.BindCondition(0);
    writing.Execute();
    QueryRow(session, "SELECT lo_unlink(" + object + ")", Condition());
    transaction.Commit();
}

void SendToParameter(const LobPlace& place, const std::shared_ptr<Session>& session,
                     const Condition& condition, std::ifstream& file) {
    Execution writing(session, "UPDATE " + place.source + " SET " + place.column + " = ?" + condition.sql,
                      condition);
    StatementCore& core = writing.Core();
    const LongReader::Form form = FormOf(place.type, session->Traits());
    const bool isText = form != LongReader::Form::Bytes;
    const bool isWide = form == LongReader::Form::Wide;
    SQLLEN indicator = SQL_DATA_AT_EXEC;
    core.Call("SQLBindParameter", [&] {
        return SQLBindParameter(core.Raw(), 1, SQL_PARAM_INPUT,
                                isWide   ? SQL_C_WCHAR
                                : isText ? SQL_C_CHAR
                                         : SQL_C_BINARY,
                                isWide   ? SQL_WLONGVARCHAR
                                : isText ? SQL_LONGVARCHAR
                                         : SQL_LONGVARBINARY,
                                SQLULEN{longestPlainValue}, 0, &indicator, 0, &indicator);
    });
    writing.BindCondition(1);
    if (writing.Execute() == SQL_NEED_DATA) {
        SendFile(place, file, core);
    }
}

}  // namespace

void ExportLob(const LobPlace& place, const std::shared_ptr<Session>& session, const Condition& condition,
               const std::string& fileName) {
    std::ofstream file(fileName, std::ios::binary | std::ios::trunc);
    if (!file) {
        ThrowFile(fileName, "written");
    }
    const Family family = session->Traits().family;
    const bool keepsRows = family == Family::MySQL || family == Family::PostgreSQL;
    const bool isLong =
        keepsRows &&
        QueryRow(session, "SELECT OCTET_LENGTH(" + place.column + ") FROM " + place.source + condition.sql,
                 condition) > partBytes;
    if (!isLong) {
        WriteWhole(place, session, condition, fileName, file);
    } else if (family == Family::MySQL) {
        SessionVariable(place, session, condition).Write(fileName, file);
    } else {
        WriteByCursor(place, session, condition, fileName, file);
    }
    file.close();
    if (!file) {
        ThrowFile(fileName, "written");
    }
}

void ImportLob(const LobPlace& place, const std::shared_ptr<Session>& session, const Condition& condition,
               const std::string& fileName) {
    std::ifstream file(fileName, std::ios::binary);
    if (!file) {
        ThrowFile(fileName, "read");
    }
    std::error_code ignored;
    const std::uintmax_t size = std::filesystem::file_size(fileName, ignored);
    const bool isLong = size != static_cast<std::uintmax_t>(-1) && size > longestSentWhole;
    if (isLong && session->Traits().family == Family::PostgreSQL) {
        SendToServerObject(place, session, condition, file);
    } else {
        SendToParameter(place, session, condition, file);
    }
}

}  // namespace qxdrivers::odbc
