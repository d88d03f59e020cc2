# The platform calls of the host edition: the interfaces through the shared library, as a component calls them, and the
# inner parts that the interfaces cannot be made to show (the journal's socket, the trace marker).
foreach(name IN ITEMS host_log host_log_guest host_settings host_state host_aul host_hbbtv host_app_control
                      host_launch_request host_small_stack host_exports)
  nuv_add_test(${name}_test SOURCES ${name}_test.cpp LIBRARIES nuv_platform_host)
endforeach()
target_compile_definitions(host_exports_test PRIVATE
  NUV_HOST_LIBRARY="$<TARGET_FILE:nuv_platform_host>"
  NUV_HOST_EXPORTS="${PROJECT_SOURCE_DIR}/platform/host/libnuv_platform_host.map")

foreach(name IN ITEMS host_log_line host_log_format host_log_sink host_guest_file host_trace_marker
                      host_cancellation)
  nuv_add_test(${name}_test SOURCES ${name}_test.cpp LIBRARIES nuv_platform_host_objects)
endforeach()

nuv_add_test(host_call_failure_test SOURCES host_call_failure_test.cpp LIBRARIES nuv_platform_host_objects)
target_link_options(host_call_failure_test PRIVATE
  LINKER:--wrap=open,--wrap=fstat,--wrap=read,--wrap=write,--wrap=rename,--wrap=unlink,--wrap=opendir,--wrap=readdir
  LINKER:--wrap=kill,--wrap=strdup)
