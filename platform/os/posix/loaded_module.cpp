#include "platform/os/loaded_module.h"

#include <dlfcn.h>

namespace qxos {

void* LoadedModuleAt(const void* address) {
    Dl_info info{};
    return dladdr(address, &info) != 0 ? info.dli_fbase : nullptr;
}

}  // namespace qxos
