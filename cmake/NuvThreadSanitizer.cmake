# ThreadSanitizer has to know how GLib hands things from thread to thread: every program loads these in front of GLib.
add_library(nuv_glib_handoffs SHARED ${PROJECT_SOURCE_DIR}/tests/support/glib_handoffs.cpp)
target_compile_options(nuv_glib_handoffs PRIVATE -fsanitize=${NUV_SANITIZE})
target_link_options(nuv_glib_handoffs PRIVATE -fsanitize=${NUV_SANITIZE})
target_link_libraries(nuv_glib_handoffs PRIVATE PkgConfig::GIO ${CMAKE_DL_LIBS})
target_link_libraries(nuv_build_flags INTERFACE nuv_glib_handoffs)
target_link_options(nuv_build_flags INTERFACE
  LINKER:--push-state,--no-as-needed $<TARGET_FILE:nuv_glib_handoffs> LINKER:--pop-state)
