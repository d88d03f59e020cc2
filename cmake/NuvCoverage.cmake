# NUV_COVERAGE: the library counts which of its lines and branches are reached, and is built so that scripts/mutate can put
# a changed one in its place. The white-box tests then use the shared library, all of whose symbols are visible, instead
# of having its objects linked into each of them.
if(NOT NUV_EXPORT_INTERNALS)
  message(FATAL_ERROR "NUV_COVERAGE needs NUV_EXPORT_INTERNALS")
endif()
set(support ${PROJECT_SOURCE_DIR}/tests/support)
target_compile_options(nuv_launcher_objects PRIVATE --coverage -fprofile-update=atomic -O0 -g1)
target_sources(nuv_launcher_api PRIVATE ${support}/coverage_dump.c)
target_link_options(nuv_launcher_api PRIVATE --coverage)

# A call that a test catches with the linker's --wrap leaves the shared library under the wrapped name: to the test's
# function where the program has one, else to the one of this library, which passes it on.
foreach(call IN ITEMS malloc calloc strdup free time g_bus_own_name_on_connection)
  target_link_options(nuv_launcher_api PRIVATE LINKER:--wrap=${call})
endforeach()
add_library(nuv_unwrapped_calls SHARED ${support}/unwrapped_calls.c)
target_link_libraries(nuv_unwrapped_calls PRIVATE PkgConfig::GIO)
# As a file, because a target that is linked would have to be installed as well.
target_link_libraries(nuv_launcher_api PRIVATE $<TARGET_FILE:nuv_unwrapped_calls>)
add_dependencies(nuv_launcher_api nuv_unwrapped_calls)
