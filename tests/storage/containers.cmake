qx_add_test(storage_containers_test
  SOURCES
    ${CMAKE_CURRENT_SOURCE_DIR}/append_only_results_storage_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/complex_type_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/data_edit_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/data_storage_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/edit_model_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/editable_results_storage_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/main_index_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/map_lock_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/null_indicator_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/refused_memory.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/row_iterator_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/row_lock_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/row_reader_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/row_sorter_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/sort_key_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/store_threads_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/views_test.cpp
  LIBS qx_storage
  TIMEOUT 300)
