// The dialects by the names that callers of the parser use.
#pragma once

#include <memory>
#include <string>

#include "scriptparser/splitter.h"

namespace qxscriptparser {

// A splitter for the text, or null for a name that means nothing:
//
//   Generic:0, SQL2000, Sybase125, Sybase12      SQL Server and Sybase, by lines with the separator (go)
//   Generic:1 with the separator "/"             Oracle
//   Oracle92, Oracle9i, Oracle8i                 Oracle
//   Generic:1 with an empty separator            PostgreSQL, SQLite and relatives
//   Generic:1 with any other one                 DB2, which knows all that the former know
//   DB28, DB272, DB271, DB26                     the same (;)
//   DB2OS390Generic:1, DB2OS3907, DB2OS3906      the same (;)
//   MySQLGeneric:1, MySQL501                     MySQL and MariaDB (;)
//
// In brackets the separator where none is given. Text and sink must outlive the splitter.
std::unique_ptr<Splitter> MakeSplitter(const std::string& parserName, const std::string& separator,
                                       ScriptText& text, ItemSink& sink);

}  // namespace qxscriptparser
