// Failure codes of components as exceptions.
#pragma once

#include <string>

#include "platform/export.h"
#include "platform/os/com_error.h"

namespace qxutils {

class QXSENG2_API COMVerify {
  public:
    // Throws _com_error when the code shows failure (is negative as 32 bits). `file` and `line` go to the
    // debug output.
    static void Check(long hresult, const std::string& file, unsigned int line);
};

}  // namespace qxutils
