// Servers by their names, versions as numbers, types by their descriptions.
#include <gtest/gtest.h>

#include "drivers/odbc/server_traits.h"

namespace {

using qxdrivers::odbc::Family;
using qxdrivers::odbc::FamilyOf;
using qxdrivers::odbc::ServerTypeOf;
using qxdrivers::odbc::VersionNumber;

TEST(OdbcServer, FamilyAndTypeByTheProductName) {
    struct Case {
        const char* product;
        Family family;
        qxdb::DBTYPE type;
    };
    static constexpr Case cases[] = {
        {"MariaDB", Family::MySQL, qxdb::DBTYPE_MYSQL},
        {"MySQL", Family::MySQL, qxdb::DBTYPE_MYSQL},
        {"PostgreSQL", Family::PostgreSQL, qxdb::DBTYPE_OTHER},
        {"Microsoft SQL Server", Family::SQLServer, qxdb::DBTYPE_SQLSERVER},
        {"SQL Server", Family::SQLServer, qxdb::DBTYPE_SQLSERVER},
        {"Adaptive Server Enterprise", Family::Sybase, qxdb::DBTYPE_SYBASE},
        {"ASE", Family::Sybase, qxdb::DBTYPE_SYBASE},
        {"Oracle", Family::Oracle, qxdb::DBTYPE_ORACLE},
        {"DB2/LINUXX8664", Family::DB2, qxdb::DBTYPE_DB2},
        {"DB2/NT", Family::DB2, qxdb::DBTYPE_DB2},
        {"DB2", Family::DB2, qxdb::DBTYPE_DB2OS390},
        {"Impala", Family::Other, qxdb::DBTYPE_OTHER},
        {"Database", Family::Other, qxdb::DBTYPE_OTHER},
        {"", Family::Other, qxdb::DBTYPE_OTHER},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(FamilyOf(c.product), c.family) << c.product;
        EXPECT_EQ(ServerTypeOf(c.family, c.product), c.type) << c.product;
    }
}

TEST(OdbcServer, VersionInTheServersTradition) {
    struct Case {
        Family family;
        const char* version;
        double number;
    };
    static constexpr Case cases[] = {
        {Family::MySQL, "3.23.52", 3.2352},
        {Family::MySQL, "3.22.11", 3.2211},
        {Family::MySQL, "4.1.1", 4.11},
        {Family::MySQL, "4.0.3", 4.03},
        {Family::MySQL, "4.0", 4.0},
        {Family::MySQL, "5.7.44-log", 5.744},
        {Family::MySQL, "10.11.000019", 10.1119},
        {Family::Oracle, "08.01.0700", 8.1700},
        {Family::Oracle, "8.1.7.4.0", 8.17},
        {Family::Oracle, "10.2.0.4", 10.2},
        {Family::DB2, "07.02.0000", 7.02},
        {Family::DB2, "11.05.0900", 11.05},
        {Family::SQLServer, "08.00.0194", 8.0},
        {Family::SQLServer, "10.50.1600", 10.5},
        {Family::Sybase, "12.5.3", 12.53},
        {Family::PostgreSQL, "15.0.18", 15.18},
        {Family::PostgreSQL, "15.0.3", 15.03},
        {Family::PostgreSQL, "9.6.24", 9.624},
        {Family::Other, "2.5", 2.5},
        {Family::Other, "no version", 0},
        {Family::Other, "", 0},
    };
    for (const Case& c : cases) {
        EXPECT_DOUBLE_EQ(VersionNumber(c.family, c.version), c.number) << c.version;
    }
}

}  // namespace
