# The application catalogue: white-box tests over a real database file, with SQLite's calls watched.
add_library(nuv_app_database STATIC support/app_database.cpp)
target_link_libraries(nuv_app_database PUBLIC nuv_test_support PkgConfig::SQLITE PRIVATE nuv_build_flags)

add_library(nuv_database_test STATIC
  support/catalogue_log.cpp
  support/sqlite_faults.cpp)
target_link_libraries(nuv_database_test PUBLIC nuv_white_box nuv_app_database PRIVATE nuv_build_flags)

nuv_add_client(database_locker PkgConfig::SQLITE)
add_dependencies(nuv_database_test database_locker)

function(nuv_add_database_test name)
  nuv_add_white_box_test(${name} nuv_database_test ${ARGN})
endfunction()

nuv_add_database_test(left_behind_test)
nuv_add_database_test(nuv_app_checks_test)
nuv_add_database_test(nuv_app_damage_test)
add_dependencies(nuv_app_damage_test catalogue_writer)
nuv_add_database_test(nuv_app_flipped_bytes_test)
nuv_add_database_test(nuv_app_fork_test)
if(NUV_COVERAGE)
  target_compile_definitions(nuv_app_fork_test PRIVATE NUV_SHARED_LIBRARY_UNDER_TEST)
endif()
nuv_add_database_test(nuv_app_group_test)
nuv_add_database_test(nuv_app_lock_test)
nuv_add_database_test(nuv_app_records_test)
nuv_add_database_test(nuv_app_inner_records_test)
nuv_add_database_test(nuv_app_queries_test)
nuv_add_database_test(nuv_app_values_test)
nuv_add_database_test(nuv_busy_pause_test)
nuv_add_database_test(nuv_db_client_test)
nuv_add_database_test(nuv_db_guards_test)
nuv_add_database_test(nuv_db_statement_test)
nuv_add_database_test(nuv_db_step_test)

# Lists hand out memory: it is watched and runs out.
add_library(nuv_memory_faults STATIC support/memory_faults.cpp)
target_link_libraries(nuv_memory_faults PRIVATE nuv_build_flags)
target_link_options(nuv_memory_faults INTERFACE LINKER:--wrap=malloc,--wrap=calloc,--wrap=strdup,--wrap=free)

function(nuv_add_list_test name)
  nuv_add_database_test(${name} nuv_memory_faults)
endfunction()

nuv_add_list_test(nuv_app_list_query_test)
nuv_add_list_test(nuv_app_last_download_test)
nuv_add_list_test(nuv_app_list_test)
nuv_add_list_test(nuv_app_list_filter_test)
nuv_add_list_test(nuv_app_list_failures_test)
nuv_add_list_test(nuv_app_list_paging_test)
nuv_add_list_test(nuv_app_key_list_test)
nuv_add_list_test(nuv_app_service_list_test)
nuv_add_database_test(nuv_terminate_test)
nuv_add_database_test(nuv_launch_by_runtitle_test)
nuv_add_database_test(nuv_app_status_test)
nuv_add_database_test(nuv_showing_app_test)
target_link_options(nuv_showing_app_test PRIVATE LINKER:--wrap=calloc)
nuv_add_database_test(nuv_launch_internal_test)
nuv_add_database_test(nuv_terminate_entries_test)
nuv_add_database_test(nuv_appexec_kpi_test)
nuv_add_database_test(nuv_contract_test)
nuv_add_database_test(nuv_process_test)
add_dependencies(nuv_process_test mortal_service)

# With the shared library, as a program uses it: nothing that is watched orders the threads.
nuv_add_client(catalogue_writer PkgConfig::SQLITE)
nuv_add_test(nuv_app_threads_test SOURCES nuv_app_threads_test.cpp LIBRARIES nuv_launcher_api nuv_app_database)
add_dependencies(nuv_app_threads_test catalogue_writer)

# Not where a sanitizer brings an allocator: its locks are not free in the child when other threads allocate meanwhile.
if(NOT NUV_SANITIZE)
  nuv_add_test(nuv_app_fork_load_test SOURCES nuv_app_fork_load_test.cpp LIBRARIES nuv_launcher_api nuv_app_database)
endif()

nuv_add_database_test(nuv_kill_matrix_test)
target_link_options(nuv_kill_matrix_test PRIVATE LINKER:--wrap=g_bus_own_name_on_connection)
add_dependencies(nuv_kill_matrix_test mortal_service)
if(NUV_SANITIZE)
  target_compile_definitions(nuv_kill_matrix_test PRIVATE NUV_SANITIZED)
endif()
