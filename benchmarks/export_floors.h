// What a hand-written loop needs for each file format: the same bytes as the library's, from plain vectors
// through a buffer of 1 MiB.
#pragma once

#include <string>

namespace qxbench {

void WriteCommaFloor(const std::string& file);
// `title`: the page's title, which the library makes of its own file's name.
void WriteHtmlFloor(const std::string& file, const std::string& title);
void WriteSpreadsheetXmlFloor(const std::string& file);
void WriteXmlFloor(const std::string& file);
// For MySQL, into the table "bench".
void WriteInsertFloor(const std::string& file);

}  // namespace qxbench
