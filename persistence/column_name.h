// The name under which a column stands in files that name their columns.
#pragma once

#include <string>

namespace qxdbsqlengine {

// The label up to the first of the characters "(*)", without blanks at its ends: COUNT(*) becomes COUNT.
std::string ColumnNameOf(std::string label);

}  // namespace qxdbsqlengine
