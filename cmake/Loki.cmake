# Loki from Debian (libloki-dev). Its Threads.h has faults in the POSIX branch: two void functions return a value,
# which g++ refuses; and the counting functions read the counter once more after they have unlocked, when another
# thread may have freed it, and count under a mutex of which every module with hidden symbols has its own. A
# corrected copy of that one file, which counts by atomic operations, is generated and put in front on the include
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
  # The bodies of the functions that handles count with; each body ends at its first brace.
  set(locked "([^{]*){[^}]*pthread_mutex_lock[^}]*}")
  foreach(pair "AtomicIncrement:__atomic_add_fetch" "AtomicDecrement:__atomic_sub_fetch")
    string(REPLACE ":" ";" pair ${pair})
    list(GET pair 0 name)
    list(GET pair 1 builtin)
    string(REGEX REPLACE "static IntType ${name}\\(volatile IntType& lval\\)${locked}"
                         "static IntType ${name}(volatile IntType& lval)\\1{ return ${builtin}( &lval, 1, __ATOMIC_ACQ_REL ); }"
                         text "${text}")
    string(REGEX REPLACE "static IntType ${name}\\(volatile IntType& lval, const IntType compare, bool & matches \\)${locked}"
                         "static IntType ${name}(volatile IntType& lval, const IntType compare, bool & matches )\\1{ const IntType kept = ${builtin}( &lval, 1, __ATOMIC_ACQ_REL ); matches = ( compare == kept ); return kept; }"
                         text "${text}")
  endforeach()
  string(REGEX REPLACE "static void AtomicAssign\\(volatile IntType& lval, const IntType val\\)${locked}"
                       "static void AtomicAssign(volatile IntType& lval, const IntType val)\\1{ __atomic_store_n( &lval, val, __ATOMIC_RELEASE ); }"
                       text "${text}")
  string(REGEX REPLACE "static void AtomicAssign\\(IntType& lval, volatile const IntType& val\\)${locked}"
                       "static void AtomicAssign(IntType& lval, volatile const IntType& val)\\1{ lval = __atomic_load_n( &val, __ATOMIC_ACQUIRE ); }"
                       text "${text}")
  # The others: a value that is returned behind the unlocking is taken before it.
  string(REGEX REPLACE "(::pthread_mutex_unlock\\( &atomic_mutex_ \\);)([ \t]*\\\\\n[ \t]*)return lval;"
                       "const IntType kept = lval; \\1\\2return kept;" text "${text}")
  set(fixed ${CMAKE_BINARY_DIR}/loki_fixed)
  file(WRITE ${fixed}/loki/Threads.h.new "${text}")
  configure_file(${fixed}/loki/Threads.h.new ${fixed}/loki/Threads.h COPYONLY)
  target_include_directories(qx_loki SYSTEM INTERFACE ${fixed})
  target_include_directories(qx_loki SYSTEM INTERFACE ${LOKI_INCLUDE_DIR})
endfunction()
