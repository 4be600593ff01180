// What a run asks of its server by query options.
#pragma once

#include <iosfwd>
#include <limits>
#include <map>

#include "platform/os/variant.h"
#include "platform/qxdb/types.h"
#include "tools/qxsql/command_line.h"

namespace qxsql {

// Large objects are read whole: what is shown and exported must not look like a whole value and be a part.
constexpr int WholeLob = std::numeric_limits<int>::max();

struct QueryOptions {
    using Map = std::map<unsigned int, _variant_t>;
    Map current;
    Map defaults;
};

// The options of --option, with the types that the server's family gives them, those of --statistics and
// --server-output, the limit of errors, and the whole length of large objects. Throws std::invalid_argument
// for an option that the server does not have, for a value that does not fit, and for what the server can't
// show.
QueryOptions MakeQueryOptions(const CommandLine& line, qxdb::DBTYPE server, double version);

// Throws std::invalid_argument when --explain is asked of a server that shows no plans.
void CheckPlans(const CommandLine& line, qxdb::DBTYPE server);

// One line for each option of the server: its number, its kind, and the statement or the meaning.
void PrintOptions(std::ostream& out, qxdb::DBTYPE server, double version);

}  // namespace qxsql
