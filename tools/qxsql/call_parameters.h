// The parameters of a stored procedure or function that is called by its name.
#pragma once

#include <vector>

#include "params/parameter_list.h"
#include "platform/qxdb/connection.h"
#include "platform/qxdb/schema.h"
#include "tools/qxsql/command_line.h"

namespace qxsql {

// Brings the words of the command line and the parameters that the server describes together. An input takes
// the type of its word, or else of its parameter. By names each word finds its parameter, by its letters in
// either case if need be; without names they go by position, and outputs that no "?" stands for are passed
// over. An input without a word is left to the server's default. The list has every parameter once. Throws
// std::invalid_argument for words that fit no parameter.
qxdbsqlengine::ParameterList MatchCallParameters(const std::vector<ParameterWord>& words,
                                                 const qxdb::Schema& described);

// What the server tells of the parameters of the call of the command line. Throws Errors.
qxdb::Schema DescribeCall(const CommandLine& line, qxdb::Connection& connection);

}  // namespace qxsql
