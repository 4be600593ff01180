// From a MariaDB on a local socket into the store. The server is started for this and stopped at the end.

#include "benchmarks/odbc_bench.h"

#include <benchmark/benchmark.h>
#include <sql.h>
#include <sqlext.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "benchmarks/bench_table.h"
#include "drivers/odbc/odbc_driver.h"
#include "platform/qxdb/manager.h"
#include "platform/qxdb/schema.h"

namespace qxbench {

using qxdbsqlengine::DataStorage;
using qxdbsqlengine::SmartPtr;

namespace {

constexpr int ServerRows = 1000000;
constexpr SQLULEN BlockRows = 1000;
constexpr const char* SelectServer = "SELECT id, small, price, ratio, name, note, placed, flag FROM bench";

std::string Quoted(const std::string& text) {
    return "'" + text + "'";
}

bool Succeeds(const std::string& command) {
    return std::system(command.c_str()) == 0;
}

[[noreturn]] void Fail(const char* what) {
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

// A server with the table "bench".
class Server {
  public:
    Server()
        : file((std::filesystem::temp_directory_path() / ("qxbench_" + std::to_string(getpid()) + ".env"))
                   .string()) {
        // The script ends the server with this process too, however that ends.
        if (!Succeeds("QX_SERVERS_OWNER=" + std::to_string(getpid()) + " " + Quoted(QX_SERVERS_SCRIPT) +
                      " start " + Quoted(file) + " mariadb"))
            Fail("MariaDB does not start");
        ReadFile();
        const std::string number = "CAST(seq AS SIGNED)";
        const std::string fill =
            "CREATE TABLE bench(id BIGINT PRIMARY KEY, small SMALLINT NOT NULL, price DECIMAL(12,2) NOT "
            "NULL, "
            "ratio DOUBLE NOT NULL, name VARCHAR(24) NOT NULL, note VARCHAR(80), placed DATETIME NOT NULL, "
            "flag "
            "INT NOT NULL) ENGINE=MyISAM; INSERT INTO bench SELECT seq, " +
            number +
            " % 65536 - 32768, (seq * 7919 % 2000000000) / 100, seq / 7e0, LEFT(SHA1(seq), 8 + seq % 17), " +
            "IF(seq % 10 = 0, NULL, LEFT(CONCAT(SHA1(seq), SHA1(-" + number +
            ")), 30 + seq % 51)), '1990-01-01' + INTERVAL seq * 1009 SECOND, seq % 2 FROM seq_1_to_" +
            std::to_string(ServerRows);
        if (!Succeeds(Client() + " -e \"" + fill + "\""))
            Fail("The table can't be filled");
    }
    ~Server() { Succeeds(Quoted(QX_SERVERS_SCRIPT) + " stop " + Quoted(file)); }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    const std::string& ConnectionText() const { return values.at("QX_MARIADB"); }
    // The mariadb client up to its options.
    std::string Client() const {
        return "MYSQL_PWD=" + Quoted(values.at("QX_SERVERS_PASSWORD")) +
               " mariadb --no-defaults --default-character-set=utf8mb4 -u qx --socket=" +
               Quoted(values.at("QX_MARIADB_SOCKET")) + " qx";
    }

  private:
    void ReadFile() {
        std::ifstream lines(file);
        std::string line;
        while (std::getline(lines, line)) {
            const std::size_t equals = line.find("='");
            if (equals != std::string::npos) {
                const std::string name = line.substr(0, equals);
                values[name] = line.substr(equals + 2, line.size() - equals - 3);
                setenv(name.c_str(), values[name].c_str(), 1);
            }
        }
    }

    const std::string file;
    std::map<std::string, std::string> values;
};

const Server& TheServer() {
    static const Server server;
    return server;
}

// Texts of one column, one behind the other.
struct TextPool {
    std::vector<char> bytes;
    std::vector<std::int64_t> offsets{0};
    void Add(const char* text, SQLLEN length) {
        if (length > 0)
            bytes.insert(bytes.end(), text, text + length);
        offsets.push_back(static_cast<std::int64_t>(bytes.size()));
    }
};

template <class T>
struct Column {
    std::array<T, BlockRows> block;
    std::array<SQLLEN, BlockRows> lengths;
};

template <std::size_t width>
using TextBlock = Column<std::array<char, width>>;

struct ServerBlocks {
    Column<SQLBIGINT> id;
    Column<SQLSMALLINT> small;
    TextBlock<16> price;
    Column<double> ratio;
    TextBlock<100> name;
    TextBlock<324> note;
    Column<SQL_TIMESTAMP_STRUCT> placed;
    Column<SQLINTEGER> flag;
};

struct ServerResult {
    std::vector<std::int64_t> id;
    std::vector<short> small;
    TextPool price;
    std::vector<double> ratio;
    TextPool name;
    TextPool note;
    std::vector<SQL_TIMESTAMP_STRUCT> placed;
    std::vector<int> flag;
    std::vector<bool> noteIsNull;
};

template <class T>
void BindColumn(SQLHSTMT statement, SQLUSMALLINT number, SQLSMALLINT type, Column<T>& column) {
    SQLBindCol(statement, number, type, column.block.data(), sizeof(T), column.lengths.data());
}

void CopyRow(const ServerBlocks& from, SQLULEN row, ServerResult& to) {
    to.id.push_back(from.id.block[row]);
    to.small.push_back(from.small.block[row]);
    to.price.Add(from.price.block[row].data(), from.price.lengths[row]);
    to.ratio.push_back(from.ratio.block[row]);
    to.name.Add(from.name.block[row].data(), from.name.lengths[row]);
    to.note.Add(from.note.block[row].data(), from.note.lengths[row]);
    to.noteIsNull.push_back(from.note.lengths[row] == SQL_NULL_DATA);
    to.placed.push_back(from.placed.block[row]);
    to.flag.push_back(from.flag.block[row]);
}

void ReadPlainly(SQLHDBC connection, ServerResult& result) {
    SQLHSTMT statement = SQL_NULL_HSTMT;
    SQLAllocHandle(SQL_HANDLE_STMT, connection, &statement);
    SQLSetStmtAttr(statement, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(BlockRows), 0);
    SQLULEN fetched = 0;
    SQLSetStmtAttr(statement, SQL_ATTR_ROWS_FETCHED_PTR, &fetched, 0);
    std::string sql = SelectServer;
    if (!SQL_SUCCEEDED(SQLExecDirect(statement, reinterpret_cast<SQLCHAR*>(sql.data()), SQL_NTS)))
        Fail("The table can't be read");
    const auto blocks = std::make_unique<ServerBlocks>();
    BindColumn(statement, 1, SQL_C_SBIGINT, blocks->id);
    BindColumn(statement, 2, SQL_C_SSHORT, blocks->small);
    BindColumn(statement, 3, SQL_C_CHAR, blocks->price);
    BindColumn(statement, 4, SQL_C_DOUBLE, blocks->ratio);
    BindColumn(statement, 5, SQL_C_CHAR, blocks->name);
    BindColumn(statement, 6, SQL_C_CHAR, blocks->note);
    BindColumn(statement, 7, SQL_C_TYPE_TIMESTAMP, blocks->placed);
    BindColumn(statement, 8, SQL_C_SLONG, blocks->flag);
    while (SQL_SUCCEEDED(SQLFetch(statement))) {
        for (SQLULEN row = 0; row < fetched; ++row)
            CopyRow(*blocks, row, result);
    }
    SQLFreeHandle(SQL_HANDLE_STMT, statement);
}

void ServerFloor(benchmark::State& state) {
    const Server& server = TheServer();
    for (auto _ : state) {
        SQLHENV environment = SQL_NULL_HENV;
        SQLHDBC connection = SQL_NULL_HDBC;
        SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment);
        SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
        SQLAllocHandle(SQL_HANDLE_DBC, environment, &connection);
        std::string text = server.ConnectionText() + ";CHARSET=utf8mb4";
        if (!SQL_SUCCEEDED(SQLDriverConnect(connection, nullptr, reinterpret_cast<SQLCHAR*>(text.data()),
                                            SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT)))
            Fail("No connection");
        ServerResult result;
        ReadPlainly(connection, result);
        if (result.id.size() != ServerRows || result.id.back() != ServerRows)
            Fail("The plain loop has read something else");
        SQLDisconnect(connection);
        SQLFreeHandle(SQL_HANDLE_DBC, connection);
        SQLFreeHandle(SQL_HANDLE_ENV, environment);
        state.PauseTiming();  // giving the result up is no part of the job, here and there
        result = ServerResult();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * ServerRows);
}

void ServerLibrary(benchmark::State& state) {
    qxdrivers::RegisterODBC();
    const qxdb::ConnectionDef place(qxdb::DBTYPE_MYSQL, TheServer().ConnectionText(), "", "", "odbc", "");
    for (auto _ : state) {
        SmartPtr<DataStorage> store = LoadStore(place, SelectServer);
        if (store->GetNumberOfRows(0) != ServerRows || store->GetInt64(0, ServerRows - 1, 0) != ServerRows)
            Fail("The store has something else");
        state.PauseTiming();
        store = SmartPtr<DataStorage>();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * ServerRows);
}

void ServerClient(benchmark::State& state) {
    const std::string command =
        TheServer().Client() + " --quick --batch -e \"" + SelectServer + "\" >/dev/null";
    for (auto _ : state) {
        if (!Succeeds(command))
            Fail("The client fails");
    }
    state.SetItemsProcessed(state.iterations() * ServerRows);
}

void Register(const char* name, void (*run)(benchmark::State&)) {
    benchmark::RegisterBenchmark(name, run)
        ->Unit(benchmark::kMillisecond)
        ->Iterations(1)
        ->Repetitions(5)
        ->UseRealTime();
}

}  // namespace

void RegisterServerBenchmarks() {
    if (!Succeeds("PATH=$PATH:/usr/sbin; command -v mariadbd >/dev/null && command -v mariadb >/dev/null")) {
        std::printf("No MariaDB is installed: the benchmarks \"Server\" are left out\n");
        return;
    }
    Register("Server/floor", ServerFloor);
    Register("Server/library", ServerLibrary);
    Register("ServerClient/floor", ServerClient);
    Register("ServerClient/library", ServerLibrary);
}

}  // namespace qxbench
