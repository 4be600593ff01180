# The results container, its handle and the sort.
list(APPEND STORAGE_SOURCES
  append_only_results_storage.cpp
  complex_type.cpp
  data_container.cpp
  data_edit.cpp
  data_storage.cpp
  editable_results_storage.cpp
  main_index.cpp
  map_lock.cpp
  null_indicator.cpp
  results_storage.cpp
  row_iterator.cpp
  row_lock.cpp
  row_reader.cpp
  row_sorter.cpp
  sort_key.cpp)
