# Loki from Debian (libloki-dev). Its Threads.h has two void functions that return a value in the POSIX
# branch; g++ refuses them. Where the installed header does not compile, a corrected copy of that one file is
# generated and put in front on the include path (platform/smart_ptr.h includes it first, so its include guard
# keeps the original out). The same function serves our build and the installed package.
include(CheckCXXSourceCompiles)

function(qx_find_loki)
  if(TARGET qx_loki)
    return()
  endif()
  find_path(LOKI_INCLUDE_DIR loki/SmartPtr.h REQUIRED)
  find_library(LOKI_LIBRARY loki REQUIRED)
  add_library(qx_loki INTERFACE)
  target_compile_definitions(qx_loki INTERFACE LOKI_OBJECT_LEVEL_THREADING)
  target_link_libraries(qx_loki INTERFACE ${LOKI_LIBRARY})

  set(CMAKE_REQUIRED_DEFINITIONS -DLOKI_OBJECT_LEVEL_THREADING)
  set(CMAKE_REQUIRED_INCLUDES ${LOKI_INCLUDE_DIR})
  check_cxx_source_compiles("#include <loki/Threads.h>\nint main() { return 0; }" QX_LOKI_COMPILES)
  if(NOT QX_LOKI_COMPILES)
    file(READ ${LOKI_INCLUDE_DIR}/loki/Threads.h text)
    # Only inside the bodies of the two AtomicAssign functions: drop the return of a value.
    string(REGEX REPLACE "(static void AtomicAssign[^}]*)return lval;([^}]*})" "\\1            \\2" text "${text}")
    set(fixed ${CMAKE_BINARY_DIR}/loki_fixed)
    file(WRITE ${fixed}/loki/Threads.h.new "${text}")
    configure_file(${fixed}/loki/Threads.h.new ${fixed}/loki/Threads.h COPYONLY)
    target_include_directories(qx_loki SYSTEM INTERFACE ${fixed})
  endif()
  target_include_directories(qx_loki SYSTEM INTERFACE ${LOKI_INCLUDE_DIR})
endfunction()
