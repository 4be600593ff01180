# Helpers for the project's targets: one set of warnings, one way to make a layer, a program and a test.

add_library(qx_options INTERFACE)
target_compile_options(qx_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                                            -Woverloaded-virtual -Wno-unused-parameter)
target_include_directories(qx_options INTERFACE ${CMAKE_SOURCE_DIR})
if(QX_SANITIZE)
  target_compile_options(qx_options INTERFACE -fsanitize=${QX_SANITIZE} -fno-omit-frame-pointer)
  target_link_options(qx_options INTERFACE -fsanitize=${QX_SANITIZE})
  if(QX_SANITIZE MATCHES "undefined")
    target_compile_options(qx_options INTERFACE -fno-sanitize-recover=undefined)
  endif()
endif()

set_property(GLOBAL PROPERTY QX_LAYERS "")

# qx_add_layer(NAME DEPS layer... SOURCES file...)
function(qx_add_layer name)
  cmake_parse_arguments(ARG "" "" "DEPS;SOURCES" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_link_libraries(${name} PUBLIC ${ARG_DEPS} qx_options qx_loki Threads::Threads)
  target_compile_definitions(${name} PRIVATE QXSENG2_BUILD)
  set_property(GLOBAL APPEND PROPERTY QX_LAYERS ${name})
endfunction()

# libqxseng2.so of all layers; only classes marked QXSENG2_API are visible in it.
function(qx_add_shared_library)
  get_property(layers GLOBAL PROPERTY QX_LAYERS)
  file(WRITE ${CMAKE_BINARY_DIR}/empty.cpp "")
  add_library(qxseng2 SHARED ${CMAKE_BINARY_DIR}/empty.cpp)
  set_target_properties(qxseng2 PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  target_link_libraries(qxseng2 PRIVATE "-Wl,--whole-archive" ${layers} "-Wl,--no-whole-archive")
  target_link_libraries(qxseng2 PUBLIC qx_options qx_loki Threads::Threads)
endfunction()

# qx_add_test(NAME SOURCES file... LIBS target... [LABELS label...] [TIMEOUT seconds])
# One test program; every TEST in it is one ctest test.
function(qx_add_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
  if(NOT ARG_LABELS)
    set(ARG_LABELS unit)
  endif()
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} qx_options GTest::gmock GTest::gtest_main)
  gtest_discover_tests(${name} PROPERTIES LABELS "${ARG_LABELS}" TIMEOUT ${ARG_TIMEOUT} DISCOVERY_TIMEOUT 60
                       DISCOVERY_MODE PRE_TEST)
endfunction()
