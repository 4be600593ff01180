#include "batch/parser_name.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "platform/os/code_page.h"

namespace qxtest {
namespace {

using qxdb::DBTYPE;

constexpr auto otherServer = static_cast<DBTYPE>(7);

std::string Name(DBTYPE type, double version, bool generic) {
    return qxos::WideToMultiByte(qxbatch::ParserName(type, version, generic));
}

TEST(DefaultBatchSeparatorTest, ByServer) {
    const struct {
        int type;
        const char* separator;
    } cases[] = {
        {5, "/"}, {2, "go"}, {3, "go"}, {4, ";"}, {8, ";"}, {10, ";"}, {14, ";"}, {-1, ""},
        {0, ""},  {1, ""},   {6, ""},   {7, ""},  {9, ""},  {13, ""},  {15, ""},  {100, ""},
    };
    for (const auto& one : cases)
        EXPECT_EQ(qxbatch::DefaultBatchSeparator(static_cast<DBTYPE>(one.type)), one.separator) << one.type;
}

TEST(ParserNameTest, CommonDialects) {
    const struct {
        DBTYPE type;
        const char* name;
    } cases[] = {
        {qxdb::DBTYPE_SYBASE, "Generic:0"},
        {qxdb::DBTYPE_SQLSERVER, "Generic:0"},
        {qxdb::DBTYPE_DB2, "Generic:1"},
        {qxdb::DBTYPE_ORACLE, "Generic:1"},
        {qxdb::DBTYPE_DB2OS390, "DB2OS390Generic:1"},
        {qxdb::DBTYPE_MYSQL, "MySQLGeneric:1"},
        {qxdb::DBTYPE_UNSET, "Generic:1"},
        {qxdb::DBTYPE_SQLITE, "Generic:1"},
        {qxdb::DBTYPE_OTHER, "Generic:1"},
        {static_cast<DBTYPE>(8), "Generic:1"},
    };
    for (const auto& one : cases) {
        for (const double version : {0.0, 5.0, 8.0, 9.2, 99.0})
            EXPECT_EQ(Name(one.type, version, true), one.name) << one.type << " " << version;
    }
}

// Names that carry a version have no suffix; only three servers are asked for one.
TEST(ParserNameTest, DialectsOfAVersion) {
    const struct {
        DBTYPE type;
        double version;
        const char* name;
    } cases[] = {
        {qxdb::DBTYPE_DB2, 7.0, "DB26"},
        {qxdb::DBTYPE_DB2, 7.01, "DB271"},
        {qxdb::DBTYPE_DB2, 7.02, "DB272"},
        {qxdb::DBTYPE_DB2, 7.1, "DB272"},
        {qxdb::DBTYPE_DB2, 8.0, "DB28"},
        {qxdb::DBTYPE_ORACLE, 8.16, "Oracle8i"},
        {qxdb::DBTYPE_ORACLE, 8.17, "Oracle9i"},
        {qxdb::DBTYPE_ORACLE, 9.2, "Oracle92"},
        {qxdb::DBTYPE_DB2OS390, 6.0, "DB2OS3906"},
        {qxdb::DBTYPE_DB2OS390, 7.0, "DB2OS3907"},
        {qxdb::DBTYPE_SYBASE, 12.5, "Generic:0"},
        {qxdb::DBTYPE_SQLSERVER, 8.0, "Generic:0"},
        {qxdb::DBTYPE_MYSQL, 5.1, "MySQLGeneric:1"},
        {qxdb::DBTYPE_OTHER, 1.0, "Generic:1"},
    };
    for (const auto& one : cases)
        EXPECT_EQ(Name(one.type, one.version, false), one.name) << one.type << " " << one.version;
}

// Every threshold, with what lies right below it, at it and right above it.
TEST(VersionedParserNameTest, ThresholdsAndRanges) {
    const struct {
        DBTYPE type;
        double version;
        const char* name;
        bool covered;
    } cases[] = {
        {qxdb::DBTYPE_ORACLE, 0.0, "Oracle8i", false},
        {qxdb::DBTYPE_ORACLE, 8.15, "Oracle8i", false},
        {qxdb::DBTYPE_ORACLE, 8.1599, "Oracle8i", false},
        {qxdb::DBTYPE_ORACLE, 8.16, "Oracle8i", true},
        {qxdb::DBTYPE_ORACLE, 8.1699, "Oracle8i", true},
        {qxdb::DBTYPE_ORACLE, 8.17, "Oracle9i", false},
        {qxdb::DBTYPE_ORACLE, 9.0, "Oracle9i", false},
        {qxdb::DBTYPE_ORACLE, 9.0099, "Oracle9i", false},
        {qxdb::DBTYPE_ORACLE, 9.01, "Oracle9i", true},
        {qxdb::DBTYPE_ORACLE, 9.015, "Oracle9i", true},
        {qxdb::DBTYPE_ORACLE, 9.02, "Oracle9i", true},
        {qxdb::DBTYPE_ORACLE, 9.0201, "Oracle9i", false},
        {qxdb::DBTYPE_ORACLE, 9.1999, "Oracle9i", false},
        {qxdb::DBTYPE_ORACLE, 9.2, "Oracle92", true},
        {qxdb::DBTYPE_ORACLE, 9.3, "Oracle92", true},
        {qxdb::DBTYPE_ORACLE, 9.3001, "Oracle92", false},
        {qxdb::DBTYPE_ORACLE, 10.2, "Oracle92", false},
        {qxdb::DBTYPE_SQLSERVER, 7.99, "SQL2000", false},
        {qxdb::DBTYPE_SQLSERVER, 8.0, "SQL2000", true},
        {qxdb::DBTYPE_SQLSERVER, 16.0, "SQL2000", true},
        {qxdb::DBTYPE_DB2, 5.99, "DB26", false},
        {qxdb::DBTYPE_DB2, 6.0, "DB26", true},
        {qxdb::DBTYPE_DB2, 7.0099, "DB26", true},
        {qxdb::DBTYPE_DB2, 7.01, "DB271", true},
        {qxdb::DBTYPE_DB2, 7.0199, "DB271", true},
        {qxdb::DBTYPE_DB2, 7.02, "DB272", true},
        {qxdb::DBTYPE_DB2, 7.99, "DB272", true},
        {qxdb::DBTYPE_DB2, 8.0, "DB28", true},
        {qxdb::DBTYPE_DB2, 8.99, "DB28", true},
        {qxdb::DBTYPE_DB2, 9.0, "DB28", false},
        {qxdb::DBTYPE_DB2OS390, 5.99, "DB2OS3906", false},
        {qxdb::DBTYPE_DB2OS390, 6.0, "DB2OS3906", true},
        {qxdb::DBTYPE_DB2OS390, 6.99, "DB2OS3906", true},
        {qxdb::DBTYPE_DB2OS390, 7.0, "DB2OS3907", true},
        {qxdb::DBTYPE_DB2OS390, 7.99, "DB2OS3907", true},
        {qxdb::DBTYPE_DB2OS390, 8.0, "DB2OS3907", false},
        {qxdb::DBTYPE_SYBASE, 11.99, "Sybase12", false},
        {qxdb::DBTYPE_SYBASE, 12.0, "Sybase12", true},
        {qxdb::DBTYPE_SYBASE, 12.49, "Sybase12", true},
        {qxdb::DBTYPE_SYBASE, 12.5, "Sybase125", true},
        {qxdb::DBTYPE_SYBASE, 12.99, "Sybase125", true},
        {qxdb::DBTYPE_SYBASE, 13.0, "Sybase125", false},
        {qxdb::DBTYPE_MYSQL, 4.99, "MySQL501", false},
        {qxdb::DBTYPE_MYSQL, 5.0, "MySQL501", true},
        {qxdb::DBTYPE_MYSQL, 6.0, "MySQL501", true},
        {qxdb::DBTYPE_MYSQL, 6.01, "MySQL501", false},
        {qxdb::DBTYPE_UNSET, 0.0, "Generic", true},
        {qxdb::DBTYPE_SQLITE, 3.4, "Generic", true},
        {otherServer, 99.0, "Generic", true},
    };
    for (const auto& one : cases) {
        for (const bool before : {false, true}) {
            bool covered = before;
            EXPECT_EQ(qxos::WideToMultiByte(qxbatch::VersionedParserName(one.type, one.version, &covered)),
                      one.name)
                << one.type << " " << one.version;
            EXPECT_EQ(covered, one.covered) << one.type << " " << one.version;
        }
        EXPECT_EQ(qxos::WideToMultiByte(qxbatch::VersionedParserName(one.type, one.version, nullptr)),
                  one.name);
    }
}

}  // namespace
}  // namespace qxtest
