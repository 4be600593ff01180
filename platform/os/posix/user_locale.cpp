#include "platform/os/user_locale.h"

#include <cstdlib>

namespace qxos {

std::string UserLocaleName() {
    // The order in which the environment decides about number formatting.
    for (const char* const name : {"LC_ALL", "LC_NUMERIC", "LANG"}) {
        const char* const value = std::getenv(name);
        if (value != nullptr && value[0] != '\0') {
            return value;
        }
    }
    return "C";
}

}  // namespace qxos
