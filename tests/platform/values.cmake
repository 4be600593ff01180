# Value types of the database access interface.
qx_add_test(platform_values_test
  SOURCES
    big_integer_test.cpp
    buffer_test.cpp
    decimal_test.cpp
    timestamp_test.cpp
  LIBS qx_platform)
