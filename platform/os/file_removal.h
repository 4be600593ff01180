// Removing files by name.
#pragma once

#include <string>

#include "platform/export.h"

namespace qxos {

// False when the system refuses: there is no such file, it is a directory, or it may not be removed.
QXSENG2_API bool RemoveFile(const std::string& path);

}  // namespace qxos
