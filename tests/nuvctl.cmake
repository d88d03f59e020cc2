# nuvctl: its parts, and the program itself against a real bus and service.
find_package(nlohmann_json REQUIRED)

nuv_add_test(nuvctl_wait_test SOURCES nuvctl_wait_test.cpp LIBRARIES nuvctl_parts)
nuv_add_test(nuvctl_lines_test SOURCES nuvctl_lines_test.cpp LIBRARIES nuvctl_parts nlohmann_json::nlohmann_json)
nuv_add_test(nuvctl_parts_test SOURCES nuvctl_parts_test.cpp LIBRARIES nuvctl_parts nlohmann_json::nlohmann_json)
nuv_add_test(nuvctl_records_test SOURCES nuvctl_records_test.cpp
  LIBRARIES nuvctl_parts nlohmann_json::nlohmann_json)
nuv_add_test(nuvctl_guards_test SOURCES nuvctl_guards_test.cpp support/fake_platform.cpp
  LIBRARIES nuvctl_parts nuv_app_database)

add_library(nuvctl_test_support STATIC support/nuvctl_run.cpp support/recording_service.cpp)
target_compile_definitions(nuvctl_test_support PRIVATE NUV_BIN_DIR="${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
target_link_libraries(nuvctl_test_support PUBLIC nuv_test_support nlohmann_json::nlohmann_json PRIVATE nuv_build_flags)
add_dependencies(nuvctl_test_support nuvctl nuv-simulator)

foreach(name nuvctl_faults_test nuvctl_launch_test nuvctl_pin_test nuvctl_preload_test nuvctl_request_test
             nuvctl_status_test nuvctl_usage_test nuvctl_verbs_test nuvctl_watch_test)
  nuv_add_test(${name} SOURCES ${name}.cpp LIBRARIES nuvctl_test_support)
endforeach()

foreach(subject explain inner list lookup title)
  nuv_add_test(nuvctl_${subject}_test SOURCES nuvctl_${subject}_test.cpp
    LIBRARIES nuvctl_test_support nuv_app_database)
  add_dependencies(nuvctl_${subject}_test database_locker)
endforeach()
