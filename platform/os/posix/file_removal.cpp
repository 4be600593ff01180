#include "platform/os/file_removal.h"

#include <unistd.h>

namespace qxos {

bool RemoveFile(const std::string& path) {
    return ::unlink(path.c_str()) == 0;
}

}  // namespace qxos
