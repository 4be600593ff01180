// The user's language settings.
#pragma once

#include <string>

#include "platform/export.h"

namespace qxos {

// The name of the user's locale for number formatting, as the standard library's std::locale takes it ("C"
// when the environment names none). Whether such a locale is installed is not checked. Any thread that runs
// while nobody changes the environment.
QXSENG2_API std::string UserLocaleName();

}  // namespace qxos
