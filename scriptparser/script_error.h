// Why a script can't be read.
#pragma once

#include <stdexcept>
#include <string>

#include "platform/os/com_error.h"

namespace qxscriptparser {

class ScriptError : public std::runtime_error {
  public:
    ScriptError(HRESULT newCode, const std::string& text) : std::runtime_error(text), code(newCode) {}
    HRESULT Code() const { return code; }

  private:
    HRESULT code;
};

}  // namespace qxscriptparser
