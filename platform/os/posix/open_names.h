// The names of files that must not outlive the process.
#pragma once

#include <string>

namespace qxos {

// Names that RemoveOpenTempFiles removes. Any thread.
void AddOpenName(const std::string& path);
void RemoveOpenName(const std::string& path);

}  // namespace qxos
