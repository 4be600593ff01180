// The numbers that travel between the engine and the database access interface.
#pragma once

#include <map>

#include "platform/int64.h"

namespace qxdb {

// Server type. Numbers are fixed: they select the handler of a run. Values that have no name here belong to
// other drivers and get the plain handler.
enum DBTYPE : int {
    DBTYPE_UNSET = -1,
    DBTYPE_SYBASE = 2,
    DBTYPE_SQLSERVER = 3,
    DBTYPE_DB2 = 4,
    DBTYPE_ORACLE = 5,
    DBTYPE_DB2OS390 = 10,
    DBTYPE_DB2CONFIG = 13,  // configuration access, only for the code-set probe; never a request's own type
    DBTYPE_MYSQL = 14,
    DBTYPE_SQLITE = 100,  // from here on: servers without a handler of their own
    DBTYPE_OTHER = 101
};

// Column or parameter number (0-based) to itself: positions that a statement leaves to the server's default.
using ExclusionIndex = std::map<unsigned int, unsigned int>;

struct DataType {
    enum Direction : int { DirectionIn = 0, DirectionOut = 1, DirectionInOut = 2 };
};

// How a cursor is opened; the engine only asks for the default.
enum CursorType : int { CursorDefault = 0 };

}  // namespace qxdb
