# The inner side of the application database.
nuv_add_database_test(nuv_db_connection_test)
target_link_options(nuv_db_connection_test PRIVATE LINKER:--wrap=calloc)
nuv_add_database_test(nuv_inner_statement_test)
nuv_add_database_test(nuv_inner_db_test)
nuv_add_database_test(nuv_inner_app_record_test)
nuv_add_database_test(nuv_inner_app_queries_test)
nuv_add_database_test(nuv_inner_app_lookup_test)
nuv_add_list_test(nuv_inner_app_list_test)
nuv_add_database_test(nuv_inner_app_updates_test)
target_link_options(nuv_inner_app_updates_test PRIVATE LINKER:--wrap=time)
nuv_add_database_test(nuv_inner_value_updates_test)
nuv_add_database_test(nuv_inner_db_client_test)
nuv_add_database_test(nuv_inner_forwarding_test)
nuv_add_database_test(nuv_inner_model_test)
nuv_add_client(inner_writer)
nuv_add_database_test(nuv_inner_kill_test)
nuv_add_database_test(nuv_inner_threads_test)
nuv_add_database_test(nuv_inner_damage_test)
nuv_add_database_test(nuv_shared_cache_test)
nuv_add_database_test(nuv_cancelled_query_test)

# Every exported function, with whatever it needs failing in turn.
add_library(nuv_exported_calls STATIC support/exported_calls.cpp)
target_link_libraries(nuv_exported_calls PUBLIC nuv_database_test PRIVATE nuv_build_flags)
target_compile_definitions(nuv_exported_calls PRIVATE NUV_SOURCE_DIR="${PROJECT_SOURCE_DIR}")

# GLib's own pools would hide from AddressSanitizer a value that is not released.
set(NUV_NO_POOLS ENVIRONMENT G_SLICE=always-malloc)
nuv_add_test(nuv_allocation_failure_test SOURCES nuv_allocation_failure_test.cpp support/sqlite_memory.cpp
  LIBRARIES nuv_exported_calls nuv_memory_faults TIMEOUT 180 ${NUV_NO_POOLS})
nuv_add_test(nuv_call_failure_test SOURCES nuv_call_failure_test.cpp LIBRARIES nuv_exported_calls TIMEOUT 180
  ${NUV_NO_POOLS})
