list(APPEND PLATFORM_SOURCES
  qxdbop/java_error.cpp
  qxdbop/jdbc_datacopy_handler.cpp)
