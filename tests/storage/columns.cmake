qx_add_test(storage_columns_test
  SOURCES
    ${CMAKE_CURRENT_SOURCE_DIR}/cache_file_alloc_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/cell_alloc_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/cell_format_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/column_definition_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/column_set_storage_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/editable_columns_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/fixed_columns_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/natural_compare_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/number_text_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/refused_memory.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/sort_key_order_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/storage_base_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/variable_columns_test.cpp
  LIBS qx_storage)
