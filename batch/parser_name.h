// Which dialect of the script parser belongs to a server.
#pragma once

#include <string>

#include "platform/export.h"
#include "platform/qxdb/types.h"

namespace qxbatch {

// The name for the server and the choice between the common dialect and that of a version; "Generic",
// "MySQLGeneric" and "DB2OS390Generic" carry a suffix that tells whether statements end at a separator on a
// line of its own (":0") or behind the statement (":1").
QXSENG2_API std::wstring ParserName(qxdb::DBTYPE dbType, double version, bool useGenericParser);

// The name of the dialect of a version, whichever is nearest. `covered`, which may be null, tells whether the
// version lies in the range that the name stands for. Versions are those of the connection definition.
QXSENG2_API std::wstring VersionedParserName(qxdb::DBTYPE dbType, double version, bool* covered);

// What divides statements where the caller does not say it.
QXSENG2_API std::string DefaultBatchSeparator(qxdb::DBTYPE dbType);

}  // namespace qxbatch
