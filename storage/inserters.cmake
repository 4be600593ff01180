# The row inserters. The one for large objects needs the request and lives in dbms/.
list(APPEND STORAGE_SOURCES data_storage_inserter.cpp named_type_handler.cpp)
