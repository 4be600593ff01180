// The parameters of a statement, as the user writes them on the command line.
#pragma once

#include <string>
#include <vector>

#include "params/parameter_list.h"
#include "platform/qxdb/schema.h"

namespace qxsql {

// One --param, with the --param-type that stood in front of it.
struct ParameterWord {
    std::string type;  // empty: string
    std::string text;  // [NAME=]VALUE
};

// Reads names and values. What stands in front of the first "=" is a name when it is made of letters, digits
// and _ . @ $ # and does not begin with a digit; a ":" in front is dropped. Everything else is a value
// without a name, and so is what follows a "=" at the very beginning.
//
// The list binds by name when the words have names. Values must be whole: a number to its last character and
// in the range of its type. Throws std::invalid_argument, which names the faulty word, also when some words
// have names and others have not, and when a name comes twice.
qxdbsqlengine::ParameterList ReadParameters(const std::vector<ParameterWord>& words);

// The names of all types, for messages and help.
std::string ParameterTypeNames();

// The parameters in the order in which the statement has them, for binding by position: by their names where
// they have them, a name standing for all places where the statement has it. Throws std::invalid_argument for
// a name that the statement lacks and for parameters that are too many or missing.
qxdbsqlengine::ParameterList OrderParameters(const qxdbsqlengine::ParameterList& parameters,
                                             const qxdb::Schema& wanted);

// What tells a statement the types of parameters that go by position, for drivers whose server knows none.
qxdb::Schema DescribeParameters(const qxdbsqlengine::ParameterList& parameters);

}  // namespace qxsql
