// The program and the libraries that are loaded into the process.
#pragma once

#include "platform/export.h"

namespace qxos {

// What the system knows the module by that holds `address`: where it was loaded. Null when none holds it.
QXSENG2_API void* LoadedModuleAt(const void* address);

}  // namespace qxos
