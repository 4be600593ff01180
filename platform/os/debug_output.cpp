#include "platform/os/debug_output.h"

#include <atomic>
#if defined(QXSENG2_DEBUG_OUTPUT)
#include <cstdio>
#endif

namespace qxos {

namespace {

std::atomic<DebugOutputHook> debugOutputHook{nullptr};

}  // namespace

DebugOutputHook SetDebugOutputHook(DebugOutputHook hook) {
    return debugOutputHook.exchange(hook);
}

void OutputDebugStringA(const char* text) {
    if (text == nullptr) {
        return;
    }
    if (const DebugOutputHook hook = debugOutputHook.load()) {
        hook(text);
        return;
    }
#if defined(QXSENG2_DEBUG_OUTPUT)
    std::fputs(text, stderr);
    std::fputc('\n', stderr);
#endif
}

}  // namespace qxos
