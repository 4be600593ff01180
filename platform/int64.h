// `__int64` for compilers that have no such built-in name.
#pragma once

#if !defined(_MSC_VER) && !defined(__MINGW32__) && !defined(__int64)
using __int64 = long long;  // NOLINT(bugprone-reserved-identifier): the name is part of the interface
#endif
