// Handles of windows, which observers are named by.
#pragma once

#if defined(_WIN32)
#include <windows.h>
#else
// An opaque handle; null is no window.
struct HWND__;
using HWND = HWND__*;
#endif
