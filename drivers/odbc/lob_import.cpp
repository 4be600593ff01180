#include "drivers/odbc/lob_import.h"

#include <limits>
#include <random>
#include <string_view>
#include <vector>

#include "drivers/odbc/sql_scan.h"
#include "drivers/odbc/temporary_table.h"
#include "drivers/odbc/transaction.h"
#include "drivers/odbc/wide_text.h"

namespace qxdrivers::odbc {

namespace {

constexpr std::size_t pieceBytes = 64 * 1024;
// What goes at once to a driver that has a parameter in several forms.
constexpr std::size_t sentBytes = 256 * 1024;

bool IsText(const LobPlace& place) {
    return place.type.kind == ValueKind::CharacterLob;
}

std::string UpdateOf(const LobPlace& place, const std::string& value, const Condition& condition) {
    return "UPDATE " + place.source + " SET " + place.column + " = " + value + condition.sql;
}

// --- What the update has come to ---

// MySQL counts the rows that have changed, and a row that has the value already is none of them.
void CheckUpdated(StatementCore& core, const LobPlace& place, const Condition& condition) {
    SQLLEN rows = 0;
    core.Call("SQLRowCount", [&] { return SQLRowCount(core.Raw(), &rows); });
    if (rows > 1) {
        ThrowRowNotAlone(place, rows - 1);
    }
    if (rows == 0) {
        const __int64 found =
            core.Traits().family == Family::MySQL ? CountRows(place, core.SharedSession(), condition) : 0;
        if (found != 1) {
            found == 0 ? ThrowRowGone(place) : ThrowRowNotAlone(place, found - 1);
        }
    }
}

// The same condition for an update that no transaction takes back. A key with a NULL in it may come a second
// time at any moment.
Condition OfOneRow(const LobPlace& place, const Condition& condition) {
    Condition alone = condition;
    if (condition.hasNull) {
        // LIMIT: a table that is updated may be read in the same statement where it is kept apart.
        alone.sql += " AND (SELECT COUNT(*) FROM (SELECT 1 FROM " + place.source + condition.sql +
                     " LIMIT 2) AS qxodbc) = 1";
        alone.descriptions.insert(alone.descriptions.end(), condition.descriptions.begin(),
                                  condition.descriptions.end());
        alone.values.insert(alone.values.end(), condition.values.begin(), condition.values.end());
    }
    return alone;
}

// --- In one parameter, piece by piece ---

// The first parameter of an update, whose value is sent while the statement waits for it.
class SentParameter {
  public:
    SentParameter(Execution& owner, SQLSMALLINT cType, SQLSMALLINT sqlType) : writing(owner) {
        StatementCore& core = writing.Core();
        core.Call("SQLBindParameter", [&] {
            return SQLBindParameter(core.Raw(), 1, SQL_PARAM_INPUT, cType, sqlType,
                                    SQLULEN{longestPlainValue}, 0, &indicator, 0, &indicator);
        });
        writing.BindCondition(1);
    }
    SentParameter(const SentParameter&) = delete;
    SentParameter& operator=(const SentParameter&) = delete;

    void Begin() {
        if (writing.Execute() == SQL_NEED_DATA) {
            Next();
        }
    }
    void Put(const void* bytes, std::size_t count) {
        StatementCore& core = writing.Core();
        core.Call("SQLPutData", [&] {
            return SQLPutData(core.Raw(), const_cast<void*>(bytes), static_cast<SQLLEN>(count));
        });
    }
    // Executes the statement.
    void End() { Next(); }

  private:
    void Next() {
        StatementCore& core = writing.Core();
        SQLPOINTER which = nullptr;
        core.Call("SQLParamData", [&] { return SQLParamData(core.Raw(), &which); });
    }

    Execution& writing;
    SQLLEN indicator = SQL_DATA_AT_EXEC;
};

void PutBytes(LobSource& source, SentParameter& parameter) {
    std::vector<char> piece(pieceBytes);
    std::size_t count = source.Read(piece.data(), piece.size());
    do {  // once for an empty value
        parameter.Put(piece.data(), count);
        count = source.Read(piece.data(), piece.size());
    } while (count > 0);
}

// A character that a piece cuts in two goes with the next one. A piece of nothing is put only where it is
// all.
void PutWide(LobSource& source, SentParameter& parameter) {
    std::string bytes;
    bool isFirst = true;
    for (bool atEnd = false; !atEnd; isFirst = false) {
        const std::size_t kept = bytes.size();
        bytes.resize(pieceBytes);
        bytes.resize(kept + source.Read(bytes.data() + kept, pieceBytes - kept));
        atEnd = bytes.size() < pieceBytes;
        const std::size_t whole = atEnd ? bytes.size() : WholeCharacters(bytes);
        if (whole > 0 || isFirst) {
            WideText wide = ToWide(std::string_view(bytes).substr(0, whole));
            wide.push_back(0);  // so that there is an address
            parameter.Put(wide.data(), (wide.size() - 1) * sizeof(SQLWCHAR));
        }
        bytes.erase(0, whole);
    }
}

// --- MySQL ---

// The modes in which the server refuses what it would else change: characters that a column does not have,
// and values too long for it.
class StrictMode {
  public:
    explicit StrictMode(Session& owner) : session(owner) {
        session.RunSilently("SET @qxodbc_mode = @@sql_mode, SESSION sql_mode = 'STRICT_ALL_TABLES'");
    }
    ~StrictMode() {
        try {
            session.RunSilently("SET SESSION sql_mode = @qxodbc_mode, @qxodbc_mode = NULL");
        } catch (...) {
            // The connection is lost, and its modes with it.
        }
    }
    StrictMode(const StrictMode&) = delete;
    StrictMode& operator=(const StrictMode&) = delete;

  private:
    Session& session;
};

// From bytes, whatever character set the connection has.
std::string MySQLValue(const LobPlace& place, const std::string& bytes) {
    return IsText(place) ? "CONVERT(" + bytes + " USING utf8mb4)" : bytes;
}

void SendToMySQL(const LobPlace& place, const std::shared_ptr<Session>& session, const Condition& condition,
                 LobSource& source) {
    const Condition one = OfOneRow(place, condition);
    Execution writing(session, UpdateOf(place, MySQLValue(place, "?"), one), one);
    SentParameter parameter(writing, SQL_C_BINARY, SQL_LONGVARBINARY);
    parameter.Begin();
    PutBytes(source, parameter);
    parameter.End();
    CheckUpdated(writing.Core(), place, condition);
}

// A table of this connection with one value, which the client library fills from a file. No packet has all of
// the value then, so that it may be longer than packets are allowed to be.
class LoadedValue {
  public:
    LoadedValue(const LobPlace& place, Session& owner)
        : session(owner), table(place, owner, "v LONGBLOB NOT NULL") {}

    void Load(const LobSource& source) {
        // Ends of fields and lines that no file has.
        const std::string mark = RandomText();
        session.RunSilently("LOAD DATA LOCAL INFILE " + QuoteLiteral(source.Name(), session.Traits()) +
                            " INTO TABLE " + table.Name() + " CHARACTER SET binary FIELDS TERMINATED BY '" +
                            mark + "f' ESCAPED BY '' LINES TERMINATED BY '" + mark + "l' (v)");
        source.CheckSize();
        const __int64 loaded = session.QueryNumber(
            ("SELECT COALESCE(SUM(OCTET_LENGTH(v)), 0) FROM " + table.Name() + " HAVING COUNT(*) = 1")
                .c_str(),
            -1);
        if (loaded != *source.Size()) {
            ThrowRefusal("\"" + source.Name() + "\" has not arrived on the server as it is", "HY000");
        }
    }
    std::string Value() const { return "(SELECT v FROM " + table.Name() + ")"; }

  private:
    static std::string RandomText() {
        static constexpr char digits[] = "0123456789abcdef";
        std::random_device device;
        std::string text;
        for (int i = 0; i < 32; ++i) {
            text += digits[device() % 16];
        }
        return text;
    }

    Session& session;
    const TemporaryTable table;
};

// True for what a server or a client library says that does not load files of the client's.
bool RefusesLocalFiles(const Errors& errors) {
    errors.Reset();
    const int code = errors.MoreErrors() ? errors.GetNextError().GetErrorCode() : 0;
    errors.Reset();
    constexpr int notAllowed = 1148;
    constexpr int disabledOnServer = 3948;
    constexpr int disabled = 4166;
    constexpr int disabledInClient = 2068;
    return code == notAllowed || code == disabledOnServer || code == disabled || code == disabledInClient;
}

[[noreturn]] void ThrowTooLong(const LobSource& source, __int64 packetBytes, const std::string& why) {
    ThrowRefusal("\"" + source.Name() + "\" has " + std::to_string(*source.Size()) +
                     " bytes, of which the server takes " + std::to_string(packetBytes) +
                     " at once (max_allowed_packet), and " + why,
                 "54000");
}

std::unique_ptr<LoadedValue> Load(const LobPlace& place, Session& session, const LobSource& source,
                                  __int64 packetBytes) {
    std::unique_ptr<LoadedValue> value;
    try {
        value = std::make_unique<LoadedValue>(place, session);
    } catch (const Errors& errors) {
        ThrowTooLong(source, packetBytes,
                     "a temporary table can't be made: " + errors.GetNextError().GetErrorDescription());
    }
    try {
        value->Load(source);
    } catch (const Errors& errors) {
        if (!RefusesLocalFiles(errors)) {
            throw;
        }
        ThrowTooLong(source, packetBytes, "LOAD DATA LOCAL is not allowed (local_infile)");
    }
    return value;
}

void LoadIntoMySQL(const LobPlace& place, const std::shared_ptr<Session>& session, const Condition& condition,
                   const LobSource& source, __int64 packetBytes) {
    const std::unique_ptr<LoadedValue> value = Load(place, *session, source, packetBytes);
    const Condition one = OfOneRow(place, condition);
    Execution writing(session, UpdateOf(place, MySQLValue(place, value->Value()), one), one);
    writing.BindCondition(0);
    writing.Execute();
    CheckUpdated(writing.Core(), place, condition);
}

void ImportToMySQL(const LobPlace& place, const std::shared_ptr<Session>& session, const Condition& condition,
                   LobSource& source) {
    const StrictMode mode(*session);
    const __int64 packet = session->QueryNumber("SELECT @@max_allowed_packet", 0);
    if (packet > 0 && source.Size() && *source.Size() > packet) {
        LoadIntoMySQL(place, session, condition, source, packet);
    } else {
        SendToMySQL(place, session, condition, source);
    }
}

// --- PostgreSQL ---

std::string PostgresValue(const LobPlace& place, const std::string& bytes) {
    return IsText(place) ? "convert_from(" + bytes + ", 'UTF8')" : bytes;
}

// A parameter of bytes in front of those of the condition, which are none here.
Condition WithBytes(std::string bytes) {
    Condition condition;
    condition.descriptions.emplace_back();
    condition.descriptions.back().type.kind = ValueKind::Binary;
    condition.descriptions.back().type.bindType = qxdb::Column::BindBinary;
    condition.values.emplace_back(ValueFromBytes(bytes));
    return condition;
}

void Update(const LobPlace& place, const std::shared_ptr<Session>& session, const Condition& condition,
            const std::string& value, const Condition& parameters) {
    Execution writing(session, UpdateOf(place, PostgresValue(place, value), condition), parameters);
    writing.BindCondition(0);
    writing.Execute();
    CheckUpdated(writing.Core(), place, condition);
}

// The driver has the whole of a parameter in memory. Pieces are gathered in an object of the server's own,
// which does not outlive this: without a commit the transaction takes it back.
void ImportToPostgres(const LobPlace& place, const std::shared_ptr<Session>& session,
                      const Condition& condition, LobSource& source) {
    OwnTransaction transaction(*session);
    std::string bytes(sentBytes, '\0');
    bytes.resize(source.Read(bytes.data(), bytes.size()));
    if (bytes.size() < sentBytes) {
        Update(place, session, condition, "?", WithBytes(bytes));
        transaction.Commit();
        return;
    }
    const std::string object = std::to_string(QueryRow(session, "SELECT lo_create(0)", Condition()));
    for (__int64 offset = 0; !bytes.empty();) {
        Execution put(session, "SELECT lo_put(" + object + ", " + std::to_string(offset) + ", ?)",
                      WithBytes(bytes));
        put.BindCondition(0);
        put.Execute();
        offset += static_cast<__int64>(bytes.size());
        bytes.resize(sentBytes);
        bytes.resize(source.Read(bytes.data(), bytes.size()));
    }
    Update(place, session, condition, "lo_get(" + object + ")", Condition());
    QueryRow(session, "SELECT lo_unlink(" + object + ")", Condition());
    transaction.Commit();
}

// What can't fit any column is told before the server has taken all of it in.
void CheckLength(const LobSource& source, Family family) {
    constexpr __int64 longestOfMySQL = 0xFFFFFFFF;
    constexpr __int64 longestOfPostgres = 0x3FFFFFFF - 4;  // with its own length a gigabyte
    const __int64 longest = family == Family::MySQL        ? longestOfMySQL
                            : family == Family::PostgreSQL ? longestOfPostgres
                                                           : std::numeric_limits<__int64>::max();
    if (source.Size().value_or(0) > longest) {
        ThrowRefusal("\"" + source.Name() + "\" has " + std::to_string(*source.Size()) +
                         " bytes, and the longest value that the server has is one of " +
                         std::to_string(longest),
                     "54000");
    }
}

}  // namespace

void ImportLob(const LobPlace& place, const std::shared_ptr<Session>& session, const Condition& condition,
               LobSource& source) {
    CheckLength(source, session->Traits().family);
    switch (session->Traits().family) {
        case Family::MySQL:
            ImportToMySQL(place, session, condition, source);
            break;
        case Family::PostgreSQL:
            ImportToPostgres(place, session, condition, source);
            break;
        default:
            ImportByParameter(place, session, condition, source);
            break;
    }
}

void ImportByParameter(const LobPlace& place, const std::shared_ptr<Session>& session,
                       const Condition& condition, LobSource& source) {
    Execution writing(session, UpdateOf(place, "?", condition), condition);
    const bool isWide = IsText(place) && !session->Traits().narrowText;
    SentParameter parameter(writing,
                            isWide          ? SQL_C_WCHAR
                            : IsText(place) ? SQL_C_CHAR
                                            : SQL_C_BINARY,
                            isWide          ? SQL_WLONGVARCHAR
                            : IsText(place) ? SQL_LONGVARCHAR
                                            : SQL_LONGVARBINARY);
    parameter.Begin();
    isWide ? PutWide(source, parameter) : PutBytes(source, parameter);
    parameter.End();
    CheckUpdated(writing.Core(), place, condition);
}

}  // namespace qxdrivers::odbc
