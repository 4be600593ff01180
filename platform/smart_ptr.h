// The one shared-ownership handle of the system: Loki's thread-safe counted pointer with fixed policies.
//
// Any thread may copy and drop its own handle; the count is guarded by a mutex per object, so never copy a
// handle in a loop over rows or cells. Build the library and everything that includes this header with
// LOKI_OBJECT_LEVEL_THREADING defined: it changes class layouts.
#pragma once

#ifndef LOKI_OBJECT_LEVEL_THREADING
#error "define LOKI_OBJECT_LEVEL_THREADING for the library and all its users alike"
#endif

// Threads.h first: the build puts a corrected copy of this one file on the include path (cmake/Loki.cmake), and
// the include guard keeps the original out. Default visibility: handles are made in one module and dropped in
// another, so all modules must share the one allocator of the counters.
#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif
#include <loki/Threads.h>

#include <loki/SmartPtr.h>
#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

namespace qxdbsqlengine {

template <class T>
using SmartPtr = Loki::SmartPtr<T, Loki::RefCountedMTAdj<Loki::ObjectLevelLockable>::RefCountedMT,
                                Loki::DisallowConversion, Loki::NoCheck, Loki::DefaultSPStorage>;

}  // namespace qxdbsqlengine
