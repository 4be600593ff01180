if(WIN32)
  set(os_folder os/win32)
else()
  set(os_folder os/posix)
endif()
list(APPEND PLATFORM_SOURCES
  os/com_error.cpp
  os/component.cpp
  os/debug_output.cpp
  os/variant.cpp
  ${os_folder}/code_page.cpp
  ${os_folder}/component.cpp
  ${os_folder}/file_mapping.cpp
  ${os_folder}/file_removal.cpp
  ${os_folder}/loaded_module.cpp
  ${os_folder}/replacing_file.cpp
  ${os_folder}/source_file.cpp
  ${os_folder}/user_locale.cpp
  ${os_folder}/window.cpp)
if(NOT WIN32)
  list(APPEND PLATFORM_SOURCES os/posix/open_names.cpp)
endif()
