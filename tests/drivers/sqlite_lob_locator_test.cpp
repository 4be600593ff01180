// Which columns have locators, and how the row of a large object is found again.
#include "drivers/sqlite_lob_support.h"

namespace {

using qxdb::Column;
using namespace qxtest;

class SQLiteLobLocator : public LobTest {
  protected:
    SQLiteLobLocator() {
        RunAll(connection,
               "CREATE TABLE docs(id INTEGER PRIMARY KEY, name VARCHAR(20), body TEXT, image BLOB);"
               "INSERT INTO docs VALUES(1, 'one', 'first', x'01'), (2, 'two', 'second', x'0202')");
    }
};

TEST_F(SQLiteLobLocator, SaysWhatItIs) {
    Lob body = Take("SELECT * FROM docs", 2);
    EXPECT_TRUE(body.locator.IsValid(true));
    EXPECT_TRUE(body.locator.IsValid(false));
    EXPECT_FALSE(body.locator.IsReadOnly());
    EXPECT_TRUE(body.locator.EditAsClob());
    EXPECT_EQ(body.locator.TableName(), "docs");
    EXPECT_EQ(body.locator.GetLocatorData().GetLength(), 0u);
    EXPECT_FALSE(Take("SELECT * FROM docs", 3).locator.EditAsClob());
}

TEST_F(SQLiteLobLocator, OnlyLargeObjectsHaveOne) {
    for (const unsigned int column : {0u, 1u, 9u}) {
        const Lob lob = Take("SELECT id, name, body FROM docs", column);
        EXPECT_FALSE(lob.locator.IsValid(true));
        EXPECT_TRUE(lob.locator.IsReadOnly());
    }
}

// Without the option only the types that are large by name are large objects.
TEST_F(SQLiteLobLocator, TheOptionMakesUnlimitedColumnsLargeObjects) {
    RunAll(connection,
           "CREATE TABLE kinds(t TEXT, b BLOB, y BYTEA, tn TEXT(10), bn BLOB(10), v VARCHAR(10), w VARCHAR,"
           " c CLOB, lb LONGBLOB, lt LONGTEXT, i INT)");
    const std::vector<Column::BindType> plain = {Column::BindString, Column::BindBinary, Column::BindBinary,
                                                 Column::BindString, Column::BindBinary, Column::BindString,
                                                 Column::BindString, Column::BindLob,    Column::BindLob,
                                                 Column::BindLob,    Column::BindInt64};
    std::vector<Column::BindType> unlimited = plain;
    unlimited[0] = unlimited[1] = unlimited[2] = Column::BindLob;
    for (const std::string option : {"", "unlimited=lob", "UNLIMITED=LOB,readonly"}) {
        qxdb::Connection other = Open(name, option);
        const OpenResult result(other, "SELECT * FROM kinds");
        std::vector<Column::BindType> types;
        const qxdb::Schema schema = qxdb::BindValue(result.binding).GetSchema();
        for (unsigned int i = 0; i < schema.GetNumberColumns(); ++i) {
            types.push_back(schema[i].GetType());
            const bool isBinary = i == 1 || i == 2 || i == 8;
            EXPECT_EQ(schema[i].GetLobFlags() == 1, types.back() == Column::BindLob && isBinary) << i;
        }
        EXPECT_EQ(types, option.empty() ? plain : unlimited) << option;
    }
}

TEST_F(SQLiteLobLocator, ColumnsOfKeysAreNoLargeObjects) {
    RunAll(connection,
           "CREATE TABLE keyed(a TEXT PRIMARY KEY, b TEXT UNIQUE, c BLOB, d TEXT, e TEXT, f TEXT);"
           "CREATE UNIQUE INDEX both ON keyed(c, d); CREATE INDEX plain ON keyed(e);"
           "CREATE UNIQUE INDEX some ON keyed(f) WHERE e IS NULL;"
           "INSERT INTO keyed VALUES('k', 'u', x'00', 'd', 'e', 'f')");
    const OpenResult result(connection, "SELECT a, b, c, d, e, f, a AS other, d || '' FROM keyed");
    std::string types;
    const qxdb::Schema schema = qxdb::BindValue(result.binding).GetSchema();
    for (unsigned int i = 0; i < schema.GetNumberColumns(); ++i) {
        types += schema[i].GetType() == Column::BindLob ? 'L' : '-';
    }
    EXPECT_EQ(types, "----LL--");
}

TEST_F(SQLiteLobLocator, TheRowIsFoundByEachKindOfKey) {
    const struct {
        const char* table;
        const char* row;
        const char* select;
        const char* otherRow;
    } cases[] = {
        {"k(id INTEGER PRIMARY KEY, doc BLOB)", "7, 'x'", "id, doc", "8, 'y'"},
        {"k(id INTEGER PRIMARY KEY, doc BLOB)", "7, 'x'", "rowid AS n, doc", "8, 'y'"},
        {"k(id INT, doc BLOB)", "7, 'x'", "rowid, doc", "7, 'y'"},
        {"k(id INT, doc BLOB)", "7, 'x'", "_rowid_, doc", "7, 'y'"},
        {"k(a VARCHAR(9), b INT, doc BLOB, PRIMARY KEY(b, a))", "'p', 1, 'x'", "a, b, doc", "'p', 2, 'y'"},
        {"k(a VARCHAR(9), doc BLOB, PRIMARY KEY(a)) WITHOUT ROWID", "'p', 'x'", "a, doc", "'q', 'y'"},
        {"k(a TEXT PRIMARY KEY, doc BLOB)", "'p', 'x'", "a, doc", "'q', 'y'"},
        {"k(a TEXT UNIQUE, doc BLOB)", "'p', 'x'", "a, doc", "NULL, 'y'"},
        {"k(a TEXT UNIQUE, doc BLOB)", "NULL, 'x'", "a, doc", "'q', 'y'"},
        {"k(a TEXT UNIQUE, doc BLOB)", "'[NULL]', 'x'", "a, doc", "'q', 'y'"},
        {"k(a BLOB UNIQUE, doc BLOB)", "x'00FF27', 'x'", "a, doc", "x'00FF', 'y'"},
        {"k(a BLOB UNIQUE, doc BLOB)", "'text', 'x'", "a, doc", "x'00FF', 'y'"},
        {"k(a DECIMAL(9,2) PRIMARY KEY, doc BLOB)", "1.5, 'x'", "a, doc", "1.25, 'y'"},
        {"k(a BIGINT PRIMARY KEY, doc BLOB)", "9007199254740993, 'x'", "a, doc", "9007199254740992, 'y'"},
        {"k(a SMALLINT UNIQUE, doc BLOB)", "5.0, 'x'", "a, doc", "6, 'y'"},
        {"k(a UNIQUE, doc BLOB)", "5, 'x'", "a, doc", "6, 'y'"},
        {"k(a UNIQUE, doc BLOB)", "'it''s \"q\"', 'x'", "a, doc", "6, 'y'"},
        {"k(a DATE UNIQUE, doc BLOB)", "'2024-02-29', 'x'", "a, doc", "'2024-02-28', 'y'"},
        {"k(a DATETIME UNIQUE, doc BLOB)", "'2024-02-29T10:11:12', 'x'", "a, doc", "'2024-02-29', 'y'"},
        {"k(a DATETIME UNIQUE, doc BLOB)", "'2024-02-29 10:11:12.5', 'x'", "a, doc", "'2024-02-29', 'y'"},
        {"k(a DATETIME UNIQUE, doc BLOB)", "'2024-02-29', 'x'", "a, doc", "'2024-02-28', 'y'"},
        {"k(a TIMESTAMP UNIQUE, doc BLOB)", "'2024-02-29 10:11', 'x'", "a, doc", "'2024-02-28', 'y'"},
        {"k(a TIME UNIQUE, doc BLOB)", "'10:11:12', 'x'", "a, doc", "'10:11', 'y'"},
        {"\"k\"(\"a \"\"b\" INTEGER PRIMARY KEY, doc BLOB)", "7, 'x'", "*", "8, 'y'"},
        {"k(rowid TEXT, doc BLOB, id INT PRIMARY KEY)", "'r', 'x', 1", "*", "'r', 'y', 2"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.table) + " " + c.row + " " + c.select);
        RunAll(connection, std::string("CREATE TABLE ") + c.table + "; INSERT INTO k VALUES(" + c.otherRow +
                               "), (" + c.row + ")");
        Lob lob = Take(std::string("SELECT ") + c.select + " FROM k ORDER BY doc",
                       std::string(c.select) == "a, b, doc" ? 2 : 1);
        EXPECT_TRUE(lob.locator.IsValid(true));
        EXPECT_FALSE(lob.locator.IsReadOnly());
        EXPECT_EQ(Export(lob), "x");
        Import(lob, "changed");
        EXPECT_EQ(Export(lob), "changed");
        EXPECT_EQ(Rows(connection, "SELECT CAST(doc AS TEXT) FROM k ORDER BY 1 DESC"),
                  (Lines{"y", "changed"}));
        RunAll(connection, "DROP TABLE k");
    }
}

TEST_F(SQLiteLobLocator, TimesAreFoundInTheFormatOfTheConnection) {
    RunAll(connection,
           "CREATE TABLE k(a DATETIME PRIMARY KEY, doc BLOB);"
           "INSERT INTO k VALUES('2024-02-29 22:11:12', 'x'), ('2024-02-29 22:11:13', 'y')");
    connection.GetProperties().SetTimestampFormat("dd/MM/yyyy HH:mm:ss");
    Lob lob = Take("SELECT * FROM k ORDER BY 2", 1);
    EXPECT_EQ(lob.row.front(), "29/02/2024 22:11:12");
    EXPECT_EQ(Export(lob), "x");
}

TEST_F(SQLiteLobLocator, WithoutAKeyItIsReadOnlyAndAllColumnsFindTheRow) {
    Lob lob = Take("SELECT name, body FROM docs WHERE id = 2", 1);
    EXPECT_TRUE(lob.locator.IsValid(true));
    EXPECT_TRUE(lob.locator.IsReadOnly());
    EXPECT_EQ(Export(lob), "second");
    const Failure failure = ImportFailure(lob, "new");
    EXPECT_EQ(failure.text, "The large object is read-only: docs has no key in the result");
    EXPECT_EQ(failure.state, "25006");
    // Two rows that look the same can't be told apart.
    RunAll(connection, "INSERT INTO docs(name, body) VALUES('two', 'another')");
    EXPECT_EQ(ExportFailure(lob).text, "The row of the large object can't be told from others in docs");
}

TEST_F(SQLiteLobLocator, WithoutAnyColumnItIsNotValid) {
    Lob lob = Take("SELECT body FROM docs", 0);
    EXPECT_FALSE(lob.locator.IsValid(true));
    EXPECT_TRUE(lob.locator.IsReadOnly());
    const std::string text = "The table docs has no column in the result to find the row by";
    EXPECT_EQ(ExportFailure(lob).text, text);
    EXPECT_EQ(ImportFailure(lob, "new").text, text);
}

TEST_F(SQLiteLobLocator, ARealIsNoKey) {
    RunAll(connection, "CREATE TABLE k(a REAL PRIMARY KEY, doc BLOB); INSERT INTO k VALUES(0.1, 'x')");
    EXPECT_FALSE(Take("SELECT * FROM k", 1).locator.IsValid(true));
}

// The columns of a row that is made of several can't be told.
TEST_F(SQLiteLobLocator, RowsThatAreMadeOfSeveralHaveNone) {
    RunAll(connection,
           "CREATE TABLE other(id INTEGER PRIMARY KEY, parent INT, body TEXT);"
           "INSERT INTO other VALUES(1, 2, 'o'); CREATE INDEX docs_name ON docs(name);"
           "CREATE VIEW shown AS SELECT id, body FROM docs WHERE id > 1");
    const struct {
        const char* sql;
        unsigned int column;
        bool valid;
    } cases[] = {
        {"SELECT a.id, b.body FROM docs a JOIN docs b ON b.id = a.id + 1", 1, false},
        {"SELECT a.name, b.body, b.id FROM docs a, docs b WHERE a.name > ''", 1, false},
        {"SELECT id, (SELECT d.body FROM docs d WHERE d.id = o.parent) FROM other o", 1, false},
        {"SELECT d.id, (SELECT e.body FROM docs e WHERE e.id = d.id + 1) FROM docs d", 1, false},
        {"SELECT id, body FROM docs UNION ALL SELECT id, body FROM other", 1, false},
        {"SELECT id, body FROM docs UNION SELECT id, body FROM other", 1, false},
        {"SELECT * FROM (SELECT id, body FROM docs UNION ALL SELECT id, body FROM other) WHERE id > 0", 1,
         false},
        {"WITH RECURSIVE n(i, t) AS (SELECT id, body FROM docs UNION ALL SELECT i + 1, t FROM n LIMIT 3)"
         " SELECT i, t FROM n",
         1, false},
        {"SELECT \"CONSTANT ROW\".id, b.body FROM docs AS \"CONSTANT ROW\", docs b", 1, false},
        {"SELECT id, body FROM docs WHERE id = (SELECT max(id) FROM docs)", 1, false},
        {"SELECT id, lag(body) OVER (ORDER BY id) FROM docs", 1, false},
        {"SELECT s.id, d.body FROM shown s JOIN docs d ON d.id = s.id - 1", 1, false},
        {"SELECT d.id, d.body, o.id FROM docs d JOIN other o ON o.id = d.id", 1, true},
        {"SELECT d.id, d.body FROM docs d LEFT JOIN other o ON o.parent = d.id", 1, true},
        {"SELECT id, body FROM docs WHERE id IN (SELECT id FROM other)", 1, true},
        {"SELECT id, body FROM docs WHERE name = 'one' OR id = 2", 1, true},
        {"SELECT id, body FROM docs WHERE name IN ('one', 'two') ORDER BY name DESC", 1, true},
        {"SELECT DISTINCT id, body FROM docs", 1, true},
        {"SELECT * FROM (SELECT id, body FROM docs ORDER BY name LIMIT 1)", 1, true},
        {"WITH d AS (SELECT * FROM docs) SELECT id, body FROM d", 1, true},
        {"SELECT id, body FROM shown", 1, true},
        {"SELECT max(id), body FROM docs", 1, false},
        {"SELECT d.id, d.body FROM docs d, json_each('[1,2]') j WHERE j.value = d.id", 1, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.sql);
        Lob lob = Take(c.sql, c.column);
        EXPECT_EQ(lob.locator.IsValid(true), c.valid);
        if (c.valid) {
            EXPECT_FALSE(lob.locator.IsReadOnly());
            EXPECT_EQ(Export(lob), Value("SELECT body FROM docs WHERE id = " + lob.row.front()));
        } else if (c.column == 1) {
            EXPECT_NE(ExportFailure(lob).text, "");
        }
    }
    Lob twice = Take(cases[0].sql, 1);
    EXPECT_EQ(
        ExportFailure(twice).text,
        "The row of the large object in docs can't be told: the statement reads a table more than once, or"
        " is made of several");
}

// A key that is NULL finds its row, but not for the row of a join that found none.
TEST_F(SQLiteLobLocator, TheMissingRowOfAnOuterJoinIsNoOther) {
    RunAll(connection,
           "CREATE TABLE notes(k VARCHAR(9) UNIQUE, note TEXT);"
           "INSERT INTO notes VALUES(NULL, 'of nobody'), ('one', 'of one');");
    const std::string join =
        "SELECT d.name, n.k, n.note FROM docs d LEFT JOIN notes n ON n.k = d.name WHERE d.id = ";
    Lob found = Take(join + "1", 2);
    EXPECT_EQ(Export(found), "of one");
    Lob missing = Take(join + "2", 2);
    EXPECT_TRUE(missing.locator.IsValid(true));
    const std::string text = "The row of the large object in notes can't be told: it is all NULL";
    EXPECT_EQ(ExportFailure(missing).text, text);
    EXPECT_EQ(ImportFailure(missing, "new").text, text);
    EXPECT_EQ(Value("SELECT note FROM notes WHERE k IS NULL"), "of nobody");
}

TEST_F(SQLiteLobLocator, VirtualTablesAndExpressionsHaveNone) {
    RunAll(connection,
           "CREATE VIRTUAL TABLE words USING fts4(body TEXT);"
           "INSERT INTO words VALUES('some words')");
    Lob lob = Take("SELECT docid, body FROM words", 1);
    EXPECT_FALSE(lob.locator.IsValid(true));
    EXPECT_NE(ExportFailure(lob).text, "");
    Lob expression = Take("SELECT id, CAST(body AS CLOB) AS x FROM docs", 1);
    EXPECT_FALSE(expression.locator.IsValid(true));
    EXPECT_NE(ExportFailure(expression).text, "");
}

TEST_F(SQLiteLobLocator, TablesOfOtherDatabasesAreFound) {
    RunAll(connection,
           "ATTACH ':memory:' AS \"second one\"; CREATE TABLE \"second one\".docs(id INTEGER "
           "PRIMARY KEY, body TEXT); INSERT INTO \"second one\".docs VALUES(1, 'elsewhere');"
           "CREATE TEMP TABLE passing(id INTEGER PRIMARY KEY, body TEXT);"
           "INSERT INTO passing VALUES(1, 'temporary')");
    Lob attached = Take("SELECT id, body FROM \"second one\".docs", 1);
    Lob temporary = Take("SELECT id, body FROM passing", 1);
    EXPECT_EQ(Export(attached), "elsewhere");
    EXPECT_EQ(Export(temporary), "temporary");
    Import(attached, "new there");
    Import(temporary, "new here");
    EXPECT_EQ(Value("SELECT body FROM \"second one\".docs"), "new there");
    EXPECT_EQ(Value("SELECT body FROM passing"), "new here");
    EXPECT_EQ(Value("SELECT body FROM docs"), "first");
}

TEST_F(SQLiteLobLocator, AnotherConnectionToTheDatabaseWillDo) {
    Lob lob = Take("SELECT id, body FROM docs", 1);
    qxdb::Connection other = Open(name);
    EXPECT_EQ(Export(lob, other), "first");
    qxdb::LobLocator clone = lob.locator.Clone();
    lob.locator = qxdb::LobLocator();
    PutFile(folder.File("source"), "by the other");
    clone.Import(folder.File("source"), other, &lob.row);
    EXPECT_EQ(Value("SELECT body FROM docs"), "by the other");
}

TEST_F(SQLiteLobLocator, MissingTextsOfTheRowAreRefused) {
    Lob lob = Take("SELECT body, id FROM docs", 0);
    const std::string text = "The row of the large object can't be found without the values of its columns";
    Cells none;
    Cells one{"first"};
    for (Cells* const row : {&none, &one, static_cast<Cells*>(nullptr)}) {
        EXPECT_EQ(FailureOf([&] { lob.locator.Export(folder.File("target"), connection, row); }).text, text);
    }
    EXPECT_EQ(FileContent(folder.File("target")), "(no file)");
}

TEST_F(SQLiteLobLocator, AComputedColumnIsReadOnly) {
    RunAll(connection,
           "CREATE TABLE k(id INTEGER PRIMARY KEY, a TEXT, doc TEXT AS (a || a) STORED);"
           "INSERT INTO k(a) VALUES('xy')");
    Lob computed = Take("SELECT id, doc FROM k", 1);
    EXPECT_TRUE(computed.locator.IsReadOnly());
    EXPECT_EQ(Export(computed), "xyxy");
    EXPECT_EQ(ImportFailure(computed, "new").text,
              "The large object is read-only: the column doc is computed");
    // Its neighbours are not.
    Lob plain = Take("SELECT id, a FROM k", 1);
    Import(plain, "z");
    EXPECT_EQ(Export(plain), "z");
    EXPECT_EQ(Value("SELECT doc FROM k"), "zz");
}

TEST_F(SQLiteLobLocator, ADatabaseForReadingIsReadOnly) {
    qxdb::Connection reader = Open(name, "readonly unlimited=lob");
    Lob lob = LobOf(reader, "SELECT id, body FROM docs", 1);
    EXPECT_TRUE(lob.locator.IsReadOnly());
    EXPECT_EQ(Export(lob, reader), "first");
    EXPECT_EQ(ImportFailure(lob, "new").text,
              "The large object is read-only: the database is open for reading only");
    // A locator of another connection learns of it at the transfer.
    Lob writable = Take("SELECT id, body FROM docs", 1);
    PutFile(folder.File("source"), "new");
    const Failure failure =
        FailureOf([&] { writable.locator.Import(folder.File("source"), reader, &writable.row); });
    EXPECT_EQ(failure.text, "attempt to write a readonly database");
    EXPECT_EQ(failure.state, "25006");
}

}  // namespace
