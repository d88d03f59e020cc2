# ThreadSanitizer has to know of the locks that GLib takes: every program loads these in front of GLib.
add_library(nuv_glib_locks SHARED ${PROJECT_SOURCE_DIR}/tests/support/glib_locks.cpp)
target_compile_options(nuv_glib_locks PRIVATE -fsanitize=${NUV_SANITIZE})
target_link_options(nuv_glib_locks PRIVATE -fsanitize=${NUV_SANITIZE})
target_link_libraries(nuv_glib_locks PRIVATE PkgConfig::GIO ${CMAKE_DL_LIBS})
target_link_libraries(nuv_build_flags INTERFACE nuv_glib_locks)
target_link_options(nuv_build_flags INTERFACE
  LINKER:--push-state,--no-as-needed $<TARGET_FILE:nuv_glib_locks> LINKER:--pop-state)
