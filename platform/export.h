// Visibility of the library's classes. Everything is hidden by default (see CMakeLists.txt); a class or
// function that callers of the shared library use is marked QXSENG2_API.
#pragma once

#if defined(QXSENG2_STATIC)
#define QXSENG2_API
#elif defined(_WIN32)
#if defined(QXSENG2_BUILD)
#define QXSENG2_API __declspec(dllexport)
#else
#define QXSENG2_API __declspec(dllimport)
#endif
#else
#define QXSENG2_API __attribute__((visibility("default")))
#endif
