// Names in the INSERT statements of exports.
#pragma once

#include <string>

#include "platform/qxdb/types.h"

namespace qxsql {

// The name, blanks around it taken off, when it is the name of one table and nothing else, parts in quotes
// and parts divided by points included. Empty for all others: what stands behind FROM can have an alias or a
// join behind it, which no INSERT takes.
std::string TableNameOf(const std::string& text);

// A column's name from its label, in the quotes of the server where it needs some. What INSERT statements
// leave out of labels (from the first bracket or asterisk on) is left out here too, since it would take the
// closing quote with it. Empty when nothing is left.
std::string ColumnNameOf(const std::string& label, qxdb::DBTYPE server);

}  // namespace qxsql
