# Flags that hold for every target of the project.
add_library(nuv_build_flags INTERFACE)
target_compile_options(nuv_build_flags INTERFACE
  -Wall -Wextra -Wshadow $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor> -Wno-format-zero-length
  -fstack-protector-strong)
target_compile_definitions(nuv_build_flags INTERFACE
  GLIB_VERSION_MIN_REQUIRED=GLIB_VERSION_2_66 GLIB_VERSION_MAX_ALLOWED=GLIB_VERSION_2_74)
if(NUV_SANITIZE)
  target_compile_options(nuv_build_flags INTERFACE -fsanitize=${NUV_SANITIZE} -fno-omit-frame-pointer
    -fno-sanitize-recover=all)
  target_link_options(nuv_build_flags INTERFACE -fsanitize=${NUV_SANITIZE})
endif()
