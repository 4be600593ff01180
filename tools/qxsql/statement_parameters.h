// The parameters of a statement, as the user writes them on the command line.
#pragma once

#include <string>
#include <vector>

#include "params/parameter_list.h"
#include "platform/qxdb/schema.h"

namespace qxsql {

// One --param, with the --param-type that stood in front of it, or one --param-out.
struct ParameterWord {
    std::string type;  // empty: none was given
    std::string text;  // [NAME=]VALUE; of an output its name, or "?" for the next place
    bool isOutput = false;
};

// The name of a parameter and its value, as a word gives them.
struct NameAndValue {
    std::string name;  // empty where there is none
    std::string value;
};

// What stands in front of the first "=" is a name when it is made of letters, digits and _ . @ $ # and does
// not begin with a digit; a ":" in front is dropped. Everything else is a value without a name, and so is
// what follows a "=" at the very beginning. Of an output there is a name or nothing.
NameAndValue PartWord(const ParameterWord& word);

// One input of a type by its name, empty for a text. Throws std::invalid_argument for an unknown type and for
// a value that is not a whole one of it.
qxdbsqlengine::Parameter ReadParameter(const std::string& type, const std::string& name,
                                       const std::string& value);

// Reads names and values of the parameters of a statement, which has no outputs. The list binds by name when
// the words have names. Values must be whole: a number to its last character and in the range of its type.
// Throws std::invalid_argument, which names the faulty word, also when some words have names and others have
// not, and when a name comes twice.
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
