# Tests of nuv-simulator: the real program on a bus of the test's own, called with plain GIO.
add_library(nuv_simulator_fixture STATIC simulator_fixture.cpp)
target_link_libraries(nuv_simulator_fixture PUBLIC nuv_test_support PkgConfig::SQLITE PRIVATE nuv_build_flags)
target_include_directories(nuv_simulator_fixture PUBLIC ${CMAKE_CURRENT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_compile_definitions(nuv_simulator_fixture PRIVATE NUV_BIN_DIR="${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
add_dependencies(nuv_simulator_fixture nuv-simulator)

foreach(subject bus launch program apps pin database update scenario watch policy manual state hostile tree)
  nuv_add_test(simulator_${subject}_test SOURCES simulator_${subject}_test.cpp LIBRARIES nuv_simulator_fixture)
endforeach()
target_compile_definitions(simulator_policy_test PRIVATE NUV_BINARY_DIR="${PROJECT_BINARY_DIR}")

# The PIN on a terminal of the test's own.
nuv_add_test(simulator_terminal_test SOURCES simulator_terminal_test.cpp LIBRARIES nuv_simulator_fixture util)

# The library in a program of its own, on the platform calls of the host edition.
nuv_add_client(launch_client nuv_platform_host)
nuv_add_test(simulator_client_test SOURCES simulator_client_test.cpp LIBRARIES nuv_simulator_fixture)
add_dependencies(simulator_client_test launch_client inner_writer)

# A client that a peer floods.
nuv_add_client(flood_client)
nuv_add_test(simulator_flood_test SOURCES simulator_flood_test.cpp LIBRARIES nuv_simulator_fixture)
add_dependencies(simulator_flood_test flood_client)
set(sanitized 0)
if(NUV_SANITIZE)
  set(sanitized 1)
endif()
target_compile_definitions(simulator_flood_test PRIVATE NUV_SANITIZED=${sanitized})
