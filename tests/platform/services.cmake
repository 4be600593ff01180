# Locks, threads, texts, error records and the services of the operating system.
qx_add_test(platform_services_test
  SOURCES
    component_test.cpp
    critical_section_test.cpp
    datacopy_test.cpp
    errors_test.cpp
    event_test.cpp
    exception_test.cpp
    file_mapping_test.cpp
    file_removal_test.cpp
    os_test.cpp
    read_write_lock_test.cpp
    replacing_file_test.cpp
    source_file_test.cpp
    string_utils_test.cpp
    thread_test.cpp
    variant_test.cpp
    window_test.cpp
    window_threads_test.cpp
  LIBS qx_platform)
