// The file formats by the names that users know, and by the extensions of files.
#pragma once

#include <string>

#include "persistence/persistence.h"
#include "tools/qxsql/command_line.h"

namespace qxsql {

// What results are written as: by --format, else by the extension of -o, else tab. A delimiter alone is the
// free form, unless it belongs to the file of --read.
qxdbsqlengine::ResultFileType OutputType(const CommandLine& line);

// What the file of --read is read as: by --read-format, else by the delimiter, else by the file's extension,
// else tab. Throws std::invalid_argument for an extension of a format that is not read back.
qxdbsqlengine::ResultFileType InputType(const CommandLine& line);

// "tab, comma, ...": for help and messages.
std::string OutputFormatNames();
std::string InputFormatNames();
bool IsOutputFormat(const std::string& name);
bool IsInputFormat(const std::string& name);

// One whole with a head and a foot, so that several results stand between them.
bool IsDocument(qxdbsqlengine::ResultFileType type);

}  // namespace qxsql
