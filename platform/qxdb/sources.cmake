list(APPEND PLATFORM_SOURCES
  resource_loader.cpp
  qxdb/big_integer.cpp
  qxdb/bind_value.cpp
  qxdb/buffer.cpp
  qxdb/callback.cpp
  qxdb/connection.cpp
  qxdb/cursor.cpp
  qxdb/decimal.cpp
  qxdb/driver.cpp
  qxdb/field.cpp
  qxdb/lob_locator.cpp
  qxdb/manager.cpp
  qxdb/raw_stream.cpp
  qxdb/schema.cpp
  qxdb/statement.cpp
  qxdb/timestamp.cpp
)
