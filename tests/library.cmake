# White-box tests: the library's own objects, with the platform calls put in front by the test.
add_library(nuv_white_box STATIC
  support/fake_apps.cpp
  support/fake_platform.cpp
  support/faults.cpp
  support/left_behind.cpp
  support/recording_service.cpp)
if(NUV_COVERAGE)
  target_include_directories(nuv_white_box PUBLIC
    $<TARGET_PROPERTY:nuv_launcher_objects,INTERFACE_INCLUDE_DIRECTORIES>)
  target_link_libraries(nuv_white_box PUBLIC nuv_launcher_api PkgConfig::GIO PkgConfig::SQLITE Threads::Threads)
else()
  target_link_libraries(nuv_white_box PUBLIC nuv_launcher_objects $<TARGET_OBJECTS:nuv_launcher_objects>)
endif()
target_link_libraries(nuv_white_box PUBLIC nuv_test_support PRIVATE nuv_build_flags)

# Looks after each test, in every program that it is linked into. An emulator has threads of its own, which it would see.
add_library(nuv_left_behind_listener OBJECT support/left_behind_listener.cpp)
target_link_libraries(nuv_left_behind_listener PRIVATE nuv_test_support nuv_build_flags)
if(NOT CMAKE_CROSSCOMPILING)
  target_link_libraries(nuv_white_box INTERFACE $<TARGET_OBJECTS:nuv_left_behind_listener>)
endif()

function(nuv_add_white_box_test name)
  nuv_add_test(${name} SOURCES ${name}.cpp LIBRARIES nuv_white_box ${ARGN})
endfunction()

nuv_add_white_box_test(nuv_log_test)
nuv_add_white_box_test(nuv_payload_caller_id_test)
nuv_add_white_box_test(nuv_launcher_api_test)
nuv_add_white_box_test(nuv_litecorvane_process_test)
nuv_add_white_box_test(nuv_proxy_test)
nuv_add_white_box_test(nuv_launch_app_control_test)
nuv_add_white_box_test(nuv_launch_app_control_calls_test)
nuv_add_white_box_test(nuv_pin_popup_test)
nuv_add_white_box_test(IAAul_test)
nuv_add_white_box_test(nuv_launch_request_test)
nuv_add_white_box_test(nuv_launch_result_test)
nuv_add_white_box_test(nuv_service_call_test)
nuv_add_white_box_test(nuv_restart_test)
nuv_add_white_box_test(nuv_fork_test)

# Programs that tests start: they use the library as everybody does.
function(nuv_add_client name)
  add_executable(${name} clients/${name}.cpp)
  set_property(GLOBAL APPEND PROPERTY NUV_TEST_CLIENTS ${name})
  target_link_libraries(${name} PRIVATE nuv_launcher_api nuv_build_flags Threads::Threads ${ARGN})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
endfunction()
nuv_add_client(exit_client)
nuv_add_client(stress_client)
nuv_add_test(nuv_stress_test SOURCES nuv_stress_test.cpp TIMEOUT 180)

# Everything at once, for as long as one likes: scripts/soak.
nuv_add_client(soak_client nuv_platform_host)
target_sources(soak_client PRIVATE clients/soak_actions.cpp clients/soak_ledger.cpp)
# A sanitizer has a memory footprint of its own.
if(NOT NUV_SANITIZE AND NOT CMAKE_CROSSCOMPILING)
  add_test(NAME soak.ABriefOneBalances
    COMMAND ${PROJECT_SOURCE_DIR}/scripts/soak 10s --build ${CMAKE_BINARY_DIR})
  set_tests_properties(soak.ABriefOneBalances PROPERTIES TIMEOUT 300)
endif()

# A service that dies in the middle of a call.
add_executable(mortal_service clients/mortal_service.cpp support/recording_service.cpp)
set_property(GLOBAL APPEND PROPERTY NUV_TEST_CLIENTS mortal_service)
target_link_libraries(mortal_service PRIVATE nuv_test_support nuv_build_flags Threads::Threads)
set_target_properties(mortal_service PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
