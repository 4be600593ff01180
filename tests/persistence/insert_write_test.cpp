// The bytes of INSERT statements.
#include "persistence/insert_statements_persistence.h"

#include "persistence_support.h"

namespace qxdbsqlengine {
namespace {

using qxdb::DBTYPE;

const std::string kComment = "--\n-- TABLE INSERT STATEMENTS\n--\n";
const DBTYPE kServers[] = {qxdb::DBTYPE_UNSET, qxdb::DBTYPE_SYBASE, qxdb::DBTYPE_SQLSERVER,
                           qxdb::DBTYPE_DB2,   qxdb::DBTYPE_ORACLE, qxdb::DBTYPE_DB2OS390,
                           qxdb::DBTYPE_MYSQL, qxdb::DBTYPE_SQLITE, qxdb::DBTYPE_OTHER};

ColumnDefinition Native(const std::string& label, EnumDataType type, int native,
                        const std::string& nativeName = "") {
    ColumnDefinition definition = Column(label, type);
    definition.nativeDataType = native;
    definition.nativeDataTypeName = nativeName;
    return definition;
}

class InsertWriteTest : public PersistenceTest {
  protected:
    std::string Write(DBTYPE server, const std::function<void(Persistence&)>& settings = nullptr) {
        return WriteAll(ResultFileInsert, [&](Persistence& p) {
            p.SetDBMSType(server);
            if (settings)
                settings(p);
        });
    }
    // One column with one value, as it stands in a statement without an end.
    std::string Value(const ColumnDefinition& column, const Cell& value, DBTYPE server) {
        store = NewStore();
        AddTypedResultSet(*store, {column}, {{value}});
        store->SetTableName(0, "T");
        const std::string text = Write(server);
        const std::string start = kComment + "INSERT INTO T ( C ) \n        VALUES ( ";
        const std::size_t end = text.rfind(" )\n");
        EXPECT_EQ(text.substr(0, start.size()), start);
        return text.substr(start.size(), end - start.size());
    }
};

TEST_F(InsertWriteTest, TheWholeFile) {
    AddTypedResultSet(*store, {Column("N", DataTypeInt), Column("S", DataTypeString)},
                      {{"1", "it's"}, {Cell(), ""}});
    store->SetTableName(0, "APP.T");
    EXPECT_EQ(Write(qxdb::DBTYPE_DB2),
              "--\n"
              "-- TABLE INSERT STATEMENTS\n"
              "--\n"
              "INSERT INTO APP.T ( N, S ) \n"
              "        VALUES ( 1, 'it''s' )\n"
              ";\n"
              "INSERT INTO APP.T ( N, S ) \n"
              "        VALUES ( NULL, '' )\n"
              ";\n");
}

TEST_F(InsertWriteTest, TheEndOfAStatementByServer) {
    AddTextResultSet(*store, {"A"}, {{"a"}});
    store->SetTableName(0, "T");
    const std::string statement = kComment + "INSERT INTO T ( A ) \n        VALUES ( 'a' )\n";
    const char* const ends[] = {"", "go\n", "go\n", ";\n", "/\n", ";\n", "go\n", "", ""};
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(Write(kServers[i]), statement + ends[i]) << kServers[i];
    EXPECT_EQ(WriteAll(ResultFileInsert), statement);  // never set
}

TEST_F(InsertWriteTest, WithoutATableNameNothingIsWritten) {
    AddTextResultSet(*store, {"A"}, {{"a"}});
    AddTextResultSet(*store, {"B"}, {{"b"}});
    AddTextResultSet(*store, {"C"}, {{"c"}});
    store->SetTableName(1, "T");
    EXPECT_EQ(Write(qxdb::DBTYPE_ORACLE, [](Persistence& p) { p.SetTableName("IGNORED"); }),
              kComment + "INSERT INTO T ( B ) \n        VALUES ( 'b' )\n/\n");
    std::filesystem::remove(file);
    Persistence persistence(ResultFileInsert, cancel, &callback, store);
    persistence.SetFileName(file.c_str());
    persistence.SetTableName("IGNORED");
    EXPECT_TRUE(persistence.WriteResultSet(0, true));
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_TRUE(persistence.WriteResultSets({0, 2}));
    EXPECT_EQ(ReadWholeFile(file), "");
}

TEST_F(InsertWriteTest, EachResultSetHasItsComment) {
    AddTextResultSet(*store, {"A"}, {{"a"}});
    AddTextResultSet(*store, {"B"}, {});
    store->SetTableName(0, "T");
    store->SetTableName(1, "U");
    EXPECT_EQ(Write(qxdb::DBTYPE_MYSQL, [](Persistence& p) { p.SetIncludeHeaders(false); }),
              kComment + "INSERT INTO T ( A ) \n        VALUES ( 'a' )\ngo\n" + kComment);
}

TEST_F(InsertWriteTest, Texts) {
    const std::pair<const char*, const char*> cases[] = {{"", "''"},
                                                         {"it's", "'it''s'"},
                                                         {"'", "''''"},
                                                         {"''", "''''''"},
                                                         {"'a", "'''a'"},
                                                         {"a'", "'a'''"},
                                                         {"a''b", "'a''''b'"},
                                                         {"a\nb\r\n", "'a\nb\r\n'"},
                                                         {"\\", "'\\'"},
                                                         {"a\\'b", "'a\\''b'"},
                                                         {"\"`[]", "'\"`[]'"},
                                                         {"  ", "'  '"},
                                                         {"NULL", "'NULL'"},
                                                         {"[NULL]", "'[NULL]'"},
                                                         {"\xF0\x9F\x98\x80", "'\xF0\x9F\x98\x80'"},
                                                         {"\x80'\xFF", "'\x80''\xFF'"},
                                                         {";\ngo\n/\n", "';\ngo\n/\n'"}};
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(Value(Column("C", DataTypeString), text, qxdb::DBTYPE_MYSQL), expected);
        EXPECT_EQ(Value(Column("C", DataTypeNamedType), text, qxdb::DBTYPE_ORACLE), expected);
        EXPECT_EQ(Value(Column("C", DataTypeLob), text, qxdb::DBTYPE_OTHER), expected);
    }
    const std::string withNul("a\0'b", 4);
    EXPECT_EQ(Value(Column("C", DataTypeString), withNul, qxdb::DBTYPE_DB2), std::string("'a\0''b'", 7));
}

TEST_F(InsertWriteTest, NullOfEveryType) {
    for (int type = 0; type <= 11; ++type)
        for (DBTYPE server : kServers)
            EXPECT_EQ(Value(Column("C", static_cast<EnumDataType>(type)), Cell(), server), "NULL")
                << type << " " << server;
}

TEST_F(InsertWriteTest, NumbersAndBytes) {
    const std::pair<EnumDataType, const char*> numbers[] = {{DataTypeShort, "-5"},
                                                            {DataTypeInt, "6"},
                                                            {DataTypeLong, "7"},
                                                            {DataTypeInt64, "-9223372036854775808"},
                                                            {DataTypeFloat, "1.5"},
                                                            {DataTypeDouble, "-0.25"},
                                                            {DataTypeDecimal, "12345678901234567890.12"}};
    for (DBTYPE server : kServers) {
        for (const auto& [type, text] : numbers)
            EXPECT_EQ(Value(Column("C", type), text, server), text);
        EXPECT_EQ(Value(Column("C", DataTypeBinary), "00FF", server), "0x00FF");
        EXPECT_EQ(Value(Column("C", DataTypeBinary), "", server), "0x");
    }
}

TEST_F(InsertWriteTest, Timestamps) {
    const ColumnDefinition column = Column("C", DataTypeTimestamp);
    for (DBTYPE server : kServers)
        EXPECT_EQ(Value(column, "2004-12-31 23:59:59.999", server),
                  server == qxdb::DBTYPE_ORACLE ? "TO_DATE( '12-31-2004 23:59:59', 'MM-DD-YYYY HH24:MI:SS' )"
                                                : "'2004-12-31 23:59:59.999'");
    // Oracle's is not the column's format, nor cut to what that shows.
    store = NewStore();
    store->AddResultSet({Column("C", DataTypeTimestamp, "yyyy")}, ResultSetNormal);
    store->InsertTimestamp(0, 0, Time(2004, 12, 31, 1, 2, 3, 0));
    store->SetTableName(0, "T");
    EXPECT_EQ(Write(qxdb::DBTYPE_ORACLE),
              kComment +
                  "INSERT INTO T ( C ) \n        VALUES ( "
                  "TO_DATE( '12-31-2004 01:02:03', 'MM-DD-YYYY HH24:MI:SS' ) )\n/\n");
    EXPECT_EQ(Write(qxdb::DBTYPE_OTHER), kComment + "INSERT INTO T ( C ) \n        VALUES ( '2004' )\n");
}

TEST_F(InsertWriteTest, LargeObjects) {
    struct LobCase {
        int native;
        const char* name;
        const char* db2;
        const char* sybase;
    };
    const LobCase cases[] = {{-350, "", "DBCLOB(G'a''b')", "'a''b'"}, {-98, "", "BLOB('a''b')", "'a''b'"},
                             {-97, "", "GRAPHIC(G'a''b')", "'a''b'"}, {-1, "", "'a''b'", "'a''b'"},
                             {-99, "", "'a''b'", "'a''b'"},           {0, "ImAgE", "'a''b'", "0xa'b"},
                             {-98, "image", "BLOB('a''b')", "0xa'b"}, {0, "images", "'a''b'", "'a''b'"}};
    for (const LobCase& c : cases) {
        const ColumnDefinition column = Native("C", DataTypeLob, c.native, c.name);
        for (DBTYPE server : kServers) {
            const bool db2 = server == qxdb::DBTYPE_DB2 || server == qxdb::DBTYPE_DB2OS390;
            const bool sybase = server == qxdb::DBTYPE_SYBASE || server == qxdb::DBTYPE_SQLSERVER;
            EXPECT_EQ(Value(column, "a'b", server), db2      ? c.db2
                                                    : sybase ? c.sybase
                                                             : "'a''b'")
                << c.native << " " << c.name << " " << server;
        }
        // Only large objects are written so.
        EXPECT_EQ(Value(Native("C", DataTypeString, c.native, c.name), "a'b", qxdb::DBTYPE_DB2), "'a''b'");
    }
}

TEST_F(InsertWriteTest, ColumnsThatTheServerFillsItself) {
    AddTypedResultSet(*store,
                      {Native("A", DataTypeBinary, 0, "TimeStamp"), Native("B", DataTypeString, 11),
                       Native("C", DataTypeInt, 0, "timestamp2")},
                      {{"FF", "b", "1"}});
    store->SetTableName(0, "T");
    const auto statement = [](const std::string& names, const std::string& values) {
        return kComment + "INSERT INTO T ( " + names + " ) \n        VALUES ( " + values + " )\n";
    };
    EXPECT_EQ(Write(qxdb::DBTYPE_SYBASE), statement("B, C", "'b', 1") + "go\n");
    EXPECT_EQ(Write(qxdb::DBTYPE_SQLSERVER), statement("B, C", "'b', 1") + "go\n");
    EXPECT_EQ(Write(qxdb::DBTYPE_ORACLE), statement("A, C", "0xFF, 1") + "/\n");
    EXPECT_EQ(Write(qxdb::DBTYPE_DB2), statement("A, B, C", "0xFF, 'b', 1") + ";\n");
    EXPECT_EQ(Write(qxdb::DBTYPE_MYSQL), statement("A, B, C", "0xFF, 'b', 1") + "go\n");
    EXPECT_EQ(Write(qxdb::DBTYPE_OTHER), statement("A, B, C", "0xFF, 'b', 1"));
}

TEST_F(InsertWriteTest, NamesOfColumns) {
    AddTextResultSet(*store, {"COUNT(*)", " b ", "(c)", "d*e", "f)", "", "g h", "*"},
                     {{"1", "2", "3", "4", "5", "6", "7", "8"}});
    store->SetTableName(0, "T");
    EXPECT_EQ(Write(qxdb::DBTYPE_OTHER), kComment +
                                             "INSERT INTO T ( COUNT, b, d, f, g h ) \n        VALUES ( '1', "
                                             "'2', '4', '5', '7' )\n");
}

TEST_F(InsertWriteTest, QuotedNames) {
    AddTextResultSet(*store, {"A", "B", "C", "()"}, {{"1", "2", "3", "4"}});
    store->SetTableName(0, "T");
    const auto quoted = [](std::vector<std::string> names, std::vector<int> columns) {
        return [=](Persistence& p) {
            p.SetQuotedColumnList(names);
            p.SetColumnList(columns);
        };
    };
    EXPECT_EQ(Write(qxdb::DBTYPE_OTHER, quoted({"\"A\"", "\"B\""}, {})),
              kComment + "INSERT INTO T ( \"A\", \"B\", C ) \n        VALUES ( '1', '2', '3' )\n");
    // By the number of the column, whatever is selected; a column without a name stays out.
    EXPECT_EQ(Write(qxdb::DBTYPE_OTHER, quoted({"[a]", "[b]", "[c]", "[d]"}, {3, 2, 0})),
              kComment + "INSERT INTO T ( [c], [a] ) \n        VALUES ( '3', '1' )\n");
    InsertStatementsPersistence persistence(cancel);
    EXPECT_TRUE(persistence.GetQuotedColumnList().empty());
    persistence.SetQuotedColumnList({"x", "y"});
    EXPECT_EQ(persistence.GetQuotedColumnList(), (std::vector<std::string>{"x", "y"}));
}

TEST_F(InsertWriteTest, NamesAndValuesFollowTheColumnListAndAColumnAppearsOnce) {
    AddTypedResultSet(*store,
                      {Column("A", DataTypeInt), Column("B", DataTypeString), Column("C", DataTypeTimestamp)},
                      {{"1", "b", "2004-12-31"}, {"2", Cell(), Cell()}});
    store->SetTableName(0, "T");
    EXPECT_EQ(Write(qxdb::DBTYPE_ORACLE,
                    [](Persistence& p) {
                        p.SetColumnList({2, -1, 1, 2, 9, 0, 1});
                    }),
              kComment +
                  "INSERT INTO T ( C, B, A ) \n        VALUES ( TO_DATE( '12-31-2004 00:00:00', "
                  "'MM-DD-YYYY HH24:MI:SS' ), 'b', 1 )\n/\n"
                  "INSERT INTO T ( C, B, A ) \n        VALUES ( NULL, NULL, 2 )\n/\n");
}

TEST_F(InsertWriteTest, WithoutColumnsRowsWriteNothing) {
    AddTextResultSet(*store, {"A"}, {{"1"}, {"2"}});
    store->SetTableName(0, "T");
    EXPECT_EQ(Write(qxdb::DBTYPE_DB2, [](Persistence& p) { p.SetColumnList({1}); }), kComment);
    EXPECT_EQ(callback.progress, (std::vector<float>{0.5f, 1.0f}));
    store = NewStore();
    EXPECT_EQ(Write(qxdb::DBTYPE_DB2), "");
}

// An unset number is no number: a text that is empty is written as NULL.
class EmptyNumbers : public AppendOnlyResultsStorage {
  public:
    bool VisitRow(int, int, int, const int*, int, const CellFormat&, CellSink& sink) override {
        sink.OnCell(0, false, "");
        return true;
    }
};

TEST_F(InsertWriteTest, AnEmptyNumberIsNull) {
    store = SmartPtr<DataStorage>(new DataStorage(new EmptyNumbers));
    AddTypedResultSet(*store, {Column("A", DataTypeInt)}, {{"1"}});
    store->SetTableName(0, "T");
    EXPECT_EQ(Write(qxdb::DBTYPE_OTHER), kComment + "INSERT INTO T ( A ) \n        VALUES ( NULL )\n");
}

// Reaches the formatters of single cells.
class Formatters : public InsertStatementsPersistence {
  public:
    Formatters(std::atomic<bool>& cancel, const SmartPtr<DataStorage>& store, DBTYPE server)
        : InsertStatementsPersistence(cancel) {
        SetDataStorage(store);
        SetDBMSType(server);
        currentResultSet = 0;
    }
};

TEST_F(InsertWriteTest, FormattersOfSingleCells) {
    AddTypedResultSet(
        *store,
        {Column("N", DataTypeInt), Column("T", DataTypeTimestamp, "yyyy-MM-dd"), Column("B", DataTypeBinary),
         Native("L", DataTypeLob, -98, "image"), Column("S", DataTypeString)},
        {{"1", "2004-12-31", "FF", "l'", "s'"}, {Cell(), Cell(), Cell(), Cell(), Cell()}});
    Formatters oracle(cancel, store, qxdb::DBTYPE_ORACLE);
    Formatters db2(cancel, store, qxdb::DBTYPE_DB2);
    Formatters sybase(cancel, store, qxdb::DBTYPE_SYBASE);
    EXPECT_EQ(oracle.FormatNumber(0, 0), "1");
    EXPECT_EQ(oracle.FormatTimestamp(0, 1), "TO_DATE( '12-31-2004 00:00:00', 'MM-DD-YYYY HH24:MI:SS' )");
    EXPECT_EQ(db2.FormatTimestamp(0, 1), "'2004-12-31'");
    EXPECT_EQ(db2.FormatBinary(0, 2), "0xFF");
    EXPECT_EQ(db2.FormatLob(0, 3), "BLOB('l''')");
    EXPECT_EQ(sybase.FormatLob(0, 3), "0xl'");
    EXPECT_EQ(oracle.FormatLob(0, 3), "'l'''");
    EXPECT_EQ(db2.FormatString(0, 4), "'s'''");
    EXPECT_EQ(db2.FormatNumber(1, 0), "NULL");
    EXPECT_EQ(oracle.FormatTimestamp(1, 1), "NULL");
    EXPECT_EQ(db2.FormatBinary(1, 2), "NULL");
    EXPECT_EQ(db2.FormatLob(1, 3), "NULL");
    EXPECT_EQ(db2.FormatString(1, 4), "NULL");
}

}  // namespace
}  // namespace qxdbsqlengine
