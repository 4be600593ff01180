list(APPEND PLATFORM_SOURCES
  qxutils/com_verify.cpp
  qxutils/contained_thread.cpp
  qxutils/critical_section.cpp
  qxutils/event.cpp
  qxutils/java_string.cpp
  qxutils/qx_exception.cpp
  qxutils/read_write_lock.cpp
  qxutils/step_timer.cpp
  qxutils/string_utils.cpp
  qxutils/thread.cpp)
