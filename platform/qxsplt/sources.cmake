list(APPEND PLATFORM_SOURCES
  qxsplt/error_record.cpp
  qxsplt/errors.cpp)
