// Debug text. The library writes no log file: this is its only channel.
#pragma once

#include "platform/export.h"

namespace qxos {

using DebugOutputHook = void (*)(const char* text);

// Receives all debug text, on the thread that writes it; null restores the default, which drops the text
// (stderr in builds with QXSENG2_DEBUG_OUTPUT). Any thread. Returns the hook that was set before.
QXSENG2_API DebugOutputHook SetDebugOutputHook(DebugOutputHook hook);

// Any thread. Null is ignored. Does not throw unless the hook does.
QXSENG2_API void OutputDebugStringA(const char* text);

}  // namespace qxos
