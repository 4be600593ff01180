#include "platform/qxutils/com_verify.h"

#include <cstdint>

#include "platform/os/debug_output.h"

namespace qxutils {

void COMVerify::Check(long hresult, const std::string& file, unsigned int line) {
    // A failure code may arrive as a positive number where long is wider than the code.
    const auto code = static_cast<std::int32_t>(static_cast<std::uint32_t>(hresult));
    if (code >= 0) {
        return;
    }
    const std::string text = file + "(" + std::to_string(line) + "): component failure";
    qxos::OutputDebugStringA(text.c_str());
    throw _com_error(code);
}

}  // namespace qxutils
