// A server that plays a script: expected SQL in order, and the answers to it.
//
//   qxtest::ScriptedServer server;
//   server.SetVersion(8.17);
//   server.Expect("select id, name from emp")
//       .Message(qxtest::Info("starting"))
//       .Returns(qxtest::Rows({qxtest::IntColumn("ID"), qxtest::TextColumn("NAME")},
//                             {{1, "Smith"}, {2, qxtest::Null()}}));
//   server.Expect("update emp set x = 1").Returns(qxtest::RowCount(3));
//   server.Expect("broken").Fails(qxtest::MakeErrors("no such thing"));
//   qxdb::Connection connection = server.Connect();
//   ...
//   server.Verify();
//
// A statement that is not the next expected one is recorded and throws Errors ("Unexpected statement: ...");
// Verify then fails the test, and so does a script that was not played to its end. The destructor verifies
// what nobody has verified.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "platform/qxdb/driver.h"
#include "platform/qxsplt/errors.h"

namespace qxtest {

// One record of severity 2 and code 0, or records of one's own.
Errors MakeErrors(const std::string& text);
Errors MakeErrors(std::initializer_list<ErrorRecord> records);
// The descriptions of all records, joined by " | "; leaves the list rewound.
std::string TextOf(const Errors& errors);

// A server message of severity 0 (informational).
qxdb::RawMessage Info(const std::string& text);

struct NullCell {};
inline NullCell Null() {
    return {};
}

// A large object: what its stream gives. With `blockSize` above 0 one Read gives that many bytes at most.
struct LobCell {
    std::string bytes;
    unsigned int blockSize = 0;
    bool nullAfterRead = false;  // IsNull turns true once the stream was read
};

class Result;

// A cursor within the row, of a column of type BindCursor: its columns, rows and actions at rows.
struct NestedCell {
    std::shared_ptr<const Result> result;
};
NestedCell Nested(Result result);

// Reading the field throws.
struct FailingCell {
    Errors errors;
};

// One value. A field converts between numbers of all kinds and to text, and throws Errors for the rest.
class Cell {
  public:
    using Value = std::variant<NullCell, std::string, short, int, long, __int64, float, double, qxdb::Decimal,
                               qxdb::DynBuffer, qxdb::Timestamp, LobCell, NestedCell, FailingCell>;

    Cell(NullCell) {}
    Cell(const char* text) : value(std::string(text)) {}
    template <class T,
              class = std::enable_if_t<std::is_constructible<Value, std::in_place_type_t<T>, T>::value>>
    Cell(T newValue) : value(std::in_place_type<T>, std::move(newValue)) {}

    const Value& Get() const { return value; }

  private:
    Value value;
};
using Row = std::vector<Cell>;

// Columns by bind type; change further members of the record before use where a test needs it.
qxdb::ColumnRecord MakeColumn(const std::string& name, qxdb::Column::BindType type,
                              const std::string& nativeTypeName = std::string());
inline qxdb::ColumnRecord TextColumn(const std::string& name) {
    return MakeColumn(name, qxdb::Column::BindString, "VARCHAR");
}
inline qxdb::ColumnRecord IntColumn(const std::string& name) {
    return MakeColumn(name, qxdb::Column::BindInt, "INTEGER");
}
// A parameter of a prepared statement.
qxdb::ColumnRecord MakeParameter(const std::string& name, qxdb::Column::BindType type,
                                 qxdb::DataType::Direction direction = qxdb::DataType::DirectionIn);
// An aggregate under the 1-based select-list column `under`.
qxdb::ColumnRecord ComputeColumn(const std::string& name, qxdb::Column::BindType type, int under);

// One result of a statement. Built with the functions below, refined by its operations.
class Result {
  public:
    // Sent when the result is asked for, before it is taken.
    Result& Message(qxdb::RawMessage message);
    // The statement's ResultSetAvailable throws in the place of this result.
    Result& FailsOnAvailable(Errors errors);
    // Row numbers from 0; the row count stands for the fetch that finds the end.
    Result& FailsAtRow(int row, Errors errors);
    Result& MessageAtRow(int row, qxdb::RawMessage message);
    // `action` runs on the statement's thread before the row is given out: to cancel, to wait, to look, to
    // throw anything.
    Result& AtRow(int row, std::function<void()> action);
    // The fetch of the row waits until the statement is cancelled, and then throws Errors "cancelled".
    Result& HangsAtRow(int row);
    // Runs when the definitions are asked for locators.
    Result& Locator(
        std::function<qxdb::LobLocator(unsigned int fieldIndex, const std::string& table,
                                       const std::string& sql, const std::string& where, bool specific)>
            maker);
    // Runs when the cursor is first bound.
    Result& AtBind(std::function<void()> action);

    struct RowEvent {
        int row;
        std::function<void()> action;
        std::shared_ptr<qxdb::RawMessage> message;
        bool hangs = false;
    };

    std::vector<std::shared_ptr<const qxdb::Column>> columns;
    std::vector<Row> rows;
    bool isCompute = false;
    std::function<unsigned int()> rowCount;
    std::vector<qxdb::RawMessage> messages;
    std::vector<RowEvent> rowEvents;
    std::shared_ptr<Errors> availableErrors;
    std::function<void()> atBind;
    std::function<qxdb::LobLocator(unsigned int, const std::string&, const std::string&, const std::string&,
                                   bool)>
        locator;
};

Result Rows(const std::vector<qxdb::ColumnRecord>& columns, std::vector<Row> rows);
Result ComputeRows(const std::vector<qxdb::ColumnRecord>& columns, std::vector<Row> rows);
Result RowCount(unsigned int rows);
// GetRowCount throws Errors.
Result UnknownRowCount();
// GetRowCount runs `give`, which may throw anything.
Result RowCountFrom(std::function<unsigned int()> give);

// One expected statement and its answer.
class Step {
  public:
    explicit Step(std::string expectedSql) : sql(std::move(expectedSql)) {}

    // Within Execute, in the order given: messages, actions, a delay, at last the failure.
    Step& Message(qxdb::RawMessage message);
    Step& Does(std::function<void()> action);
    Step& TakesMs(int milliseconds);
    Step& Fails(Errors errors);
    // Execute waits until the statement is cancelled and then throws Errors "cancelled". With `endsByCancel`
    // false only ScriptedServer::Release ends it.
    Step& Hangs(bool endsByCancel = true);
    Step& Returns(Result result);
    // Sent behind the last result, by the ResultSetAvailable that gives false.
    Step& MessageAfter(qxdb::RawMessage message);
    // ResultSetAvailable throws behind the last result.
    Step& FailsAfter(Errors errors);
    // The parameters that a Prepare finds. Without them those of the hint, if there is one.
    Step& Parameters(const std::vector<qxdb::ColumnRecord>& columns);
    // What a parameter (from 0) gives back when the statement has run: through its field, or into the storage
    // bound to it, which must be of the type of the cell.
    Step& Output(unsigned int position, Cell value);
    Step& OutputCursor(unsigned int position, Result result);
    // Prepare throws.
    Step& FailsOnPrepare(Errors errors);
    // Is prepared only: binding goes wrong.
    Step& NeverExecuted();

    std::string sql;
    std::vector<std::function<void(qxdb::Callback*)>> onExecute;
    std::deque<Result> results;
    std::vector<qxdb::RawMessage> messagesAfter;
    std::shared_ptr<Errors> failure;
    std::shared_ptr<Errors> failureAfter;
    bool hangs = false;
    bool hangEndsByCancel = true;
    std::vector<std::shared_ptr<const qxdb::Column>> parameters;
    std::map<unsigned int, Cell> outputs;
    std::map<unsigned int, Result> outputCursors;
    std::shared_ptr<Errors> prepareFailure;
    bool isOnlyPrepared = false;
    bool wasPrepared = false;  // guarded by the server's mutex
};

// The server. Lives longer than its connections' use; scripts are written before the run. Its own operations
// may be called from any thread.
class ScriptedServer {
  public:
    ScriptedServer();
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    void SetVersion(double version);
    void SetUnicode(bool unicode);
    // What SupportsProperty gives: a bit for each of the Capabilities, all set at first.
    void SetCapabilities(unsigned int mask);
    // SetCurrentDatabase throws these.
    void FailSetCurrentDatabase(Errors errors);
    // The server's configuration, and whether loading it gives true.
    void SetConfiguration(std::vector<std::pair<std::string, std::string>> parameters, bool loads = true);

    // Valid as long as the server.
    Step& Expect(const std::string& sql);
    // Any number of statements, in any order and also after the expected ones, each answered with nothing.
    void AcceptOthers();
    // Drops the expected statements that were not executed.
    void Forget();

    qxdb::Connection Connect();
    // What a driver hands out.
    std::shared_ptr<qxdb::ConnectionImpl> MakeConnection();

    // Lets statements go on that hang and do not heed a cancel.
    void Release();
    // Statement::Cancel runs `action` before it returns, on the thread that calls it. The statement learns of
    // the cancel behind it or, with `endsStatementFirst`, before it.
    void OnCancel(std::function<void()> action, bool endsStatementFirst = false);
    // Waits up to 10 seconds until `count` statements were executed (begun).
    bool WaitForExecutions(int count);
    // Waits up to 10 seconds until a statement hangs.
    bool WaitForHang();

    // What happened, in order: "callback on", "callback off", "database <name>", "timestamp format <text>",
    // "maxrows 5" and other properties, "execute <sql>", "cancel", "load configuration <name>"; of prepared
    // statements "hint <names>", "get hint", "prepare <type> <sql>", "set <position> int 5" (also string 'x',
    // null and so on), "bind <ordinal> in int 5", where out is the other direction,
    // and "bind <ordinal> out string '' of at most 80" for a text of limited length.
    std::vector<std::string> Log() const;
    // The executed statements alone.
    std::vector<std::string> Executed() const;
    // What the parameters of the statement executed last were bound to, in order: "int 5", "string 'x'",
    // "bytes 0AFF", "null", "nothing", and for storage "in int 5" or "out int 5".
    std::vector<std::string> Bound() const;
    int CancelCount() const;
    // Statements that somebody still has a handle on.
    int StatementCount() const;
    // The threads that dropped the last handles of the others, in order.
    std::vector<std::thread::id> StatementEnds() const;
    // Empty when everything went by the script.
    std::string Problems() const;
    // Fails the running test when there are problems.
    void Verify();

    struct State;

  private:
    friend void RegisterScriptedDriver(const std::string& name, qxdb::DBTYPE type, ScriptedServer& server,
                                       std::vector<std::string>* definitions);
    std::shared_ptr<State> state;
    bool verified = false;
};

// Registers a driver with the manager under `name`, which serves `type` as long as `server` lives; every
// connection goes there.
// `definitions` gets the text "type|source|user|password|driver|options" of each connection made.
void RegisterScriptedDriver(const std::string& name, qxdb::DBTYPE type, ScriptedServer& server,
                            std::vector<std::string>* definitions = nullptr);

}  // namespace qxtest
