// What DB2 is expected to be sent around its explain tables.
#pragma once

#include <string>
#include <vector>

namespace qxtest {

// In the order in which they are looked for and created.
extern const char* const explainTables[13];

// The statements that create a table and its index on a server of this version. Empty where there are none.
std::vector<std::string> CreateTexts(const std::string& table, double version, const std::string& schema);
// The statements that delete the rows of our tag.
std::vector<std::string> EraseTexts(double version, const std::string& schema);
std::string PlanQuery(const std::string& schema);

}  // namespace qxtest
