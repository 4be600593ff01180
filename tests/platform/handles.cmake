# The handles of the database access interface, over a driver that only counts.
qx_add_test(platform_handles_test
  SOURCES
    handles_test.cpp
  LIBS qx_platform)
