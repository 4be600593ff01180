# Loki from Debian (libloki-dev). Its Threads.h has two faults in the POSIX branch: two void functions return a
# value, which g++ refuses; and the counting functions read the counter once more after they have unlocked, when
# another thread may have freed it. A corrected copy of that one file is generated and put in front on the include
# path (platform/smart_ptr.h includes it first, so its include guard keeps the original out). The same function
# serves our build and the installed package.

function(qx_find_loki)
  if(TARGET qx_loki)
    return()
  endif()
  find_path(LOKI_INCLUDE_DIR loki/SmartPtr.h REQUIRED)
  find_library(LOKI_LIBRARY loki REQUIRED)
  add_library(qx_loki INTERFACE)
  target_compile_definitions(qx_loki INTERFACE LOKI_OBJECT_LEVEL_THREADING)
  target_link_libraries(qx_loki INTERFACE ${LOKI_LIBRARY})

  file(READ ${LOKI_INCLUDE_DIR}/loki/Threads.h text)
  # Only inside the bodies of the AtomicAssign functions: drop the return of a value.
  string(REGEX REPLACE "(static void AtomicAssign[^}]*)return lval;([^}]*})" "\\1            \\2" text "${text}")
  # A value that is returned behind the unlocking is taken before it.
  string(REGEX REPLACE "(::pthread_mutex_unlock\\( &atomic_mutex_ \\);)([ \t]*\\\\\n[ \t]*)return lval;"
                       "const IntType kept = lval; \\1\\2return kept;" text "${text}")
  set(fixed ${CMAKE_BINARY_DIR}/loki_fixed)
  file(WRITE ${fixed}/loki/Threads.h.new "${text}")
  configure_file(${fixed}/loki/Threads.h.new ${fixed}/loki/Threads.h COPYONLY)
  target_include_directories(qx_loki SYSTEM INTERFACE ${fixed})
  target_include_directories(qx_loki SYSTEM INTERFACE ${LOKI_INCLUDE_DIR})
endfunction()
