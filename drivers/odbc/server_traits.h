// What differs between servers and their drivers, as far as this driver has to know it.
#pragma once

#include <string>
#include <string_view>

#include "platform/qxdb/types.h"

namespace qxdrivers::odbc {

enum class Family { Other, MySQL, PostgreSQL, SQLServer, Sybase, Oracle, DB2 };

// The family of a server by the product name that SQLGetInfo gives.
Family FamilyOf(std::string_view productName);

// The type number that selects the engine's handler. `productName` tells DB2 for OS/390, which calls itself
// just DB2, from the others.
qxdb::DBTYPE ServerTypeOf(Family family, std::string_view productName);

// A version text as a number in the server's own tradition: MySQL 3.23.52 is 3.2352 and 4.1.1 is 4.11, Oracle
// 8.1.7 is 8.17, DB2 7.2 is 7.02, SQL Server 8.00.194 is 8.0, PostgreSQL 15.18 is 15.18 and 9.6.24 is 9.624.
// Texts that start with no digit give 0.
double VersionNumber(Family family, std::string_view version);

// Facts of one connection; constant after it was made.
struct ServerTraits {
    Family family = Family::Other;
    qxdb::DBTYPE type = qxdb::DBTYPE_OTHER;
    double version = 0;
    std::string identifierQuote;  // empty where names can't be quoted

    // SQL_C_CHAR carries UTF-8, so that no text has to be widened.
    bool narrowText = false;
    // SQLGetData reaches columns in any order, bound ones too.
    bool getDataAnywhere = false;
    // SQLSetPos and SQLGetData reach any row of a block.
    bool getDataInBlocks = false;
    // Bound as a structure, a date of zeros comes as NULL, and a NULL leaves the structure alone. False: such
    // dates come as text.
    bool zeroDatesTold = false;
    // Results are read through a cursor on the server, since the driver would keep them whole in memory.
    bool serverCursors = false;
    // Columns without any limit of their length are large objects.
    bool unlimitedAsLob = false;
    // Warnings wait on the server until they are asked for.
    bool asksForWarnings = false;

    // Timestamps are read as text and not as structures.
    bool TimestampsAsText() const {
        return family == Family::PostgreSQL || (family == Family::MySQL && !zeroDatesTold);
    }
};

}  // namespace qxdrivers::odbc
