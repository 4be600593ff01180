list(APPEND STORAGE_SOURCES
  binary_storage.cpp
  cache_file_alloc.cpp
  cell_alloc.cpp
  cell_format.cpp
  column_definition.cpp
  column_set_storage.cpp
  decimal_storage.cpp
  fixed_columns.cpp
  lob_storage.cpp
  natural_compare.cpp
  number_text.cpp
  storage_base.cpp
  store_exceptions.cpp
  string_storage.cpp
  var_length_storage.cpp
)
