# What makes a fault harder to use, for every target of the project, generated code included.
include(CheckPIESupported)
check_pie_supported(LANGUAGES C CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
add_library(nuv_hardening INTERFACE)
target_compile_options(nuv_hardening INTERFACE -fstack-protector-strong -fstack-clash-protection)
target_link_options(nuv_hardening INTERFACE LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
# The checked calls of the C library exist in optimized code only, and a sanitizer looks at the plain ones more closely.
if(NOT NUV_SANITIZE)
  set(optimized
    $<AND:$<CONFIG:Release,RelWithDebInfo,MinSizeRel>,$<NOT:$<BOOL:$<TARGET_PROPERTY:NUV_NOT_OPTIMIZED>>>>)
  target_compile_options(nuv_hardening INTERFACE $<${optimized}:-U_FORTIFY_SOURCE> $<${optimized}:-D_FORTIFY_SOURCE=3>)
endif()

# Flags that hold for every target with sources of our own.
add_library(nuv_build_flags INTERFACE)
target_link_libraries(nuv_build_flags INTERFACE nuv_hardening)
target_compile_options(nuv_build_flags INTERFACE
  -Wall -Wextra -Wshadow $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor> -Wno-format-zero-length)
target_compile_definitions(nuv_build_flags INTERFACE
  GLIB_VERSION_MIN_REQUIRED=GLIB_VERSION_2_66 GLIB_VERSION_MAX_ALLOWED=GLIB_VERSION_2_74)
if(NUV_SANITIZE)
  target_compile_options(nuv_build_flags INTERFACE -fsanitize=${NUV_SANITIZE} -fno-omit-frame-pointer -g1
    -fno-sanitize-recover=all)
  target_link_options(nuv_build_flags INTERFACE -fsanitize=${NUV_SANITIZE})
endif()
# A precompiled header that has no times in it is the same in another checkout, and with it what a cache of compiled files
# knows; GCC writes none.
target_compile_options(nuv_build_flags INTERFACE
  $<$<COMPILE_LANG_AND_ID:CXX,Clang>:SHELL:-Xclang -fno-pch-timestamp>)
# A fuzzer sees by this which code an input reaches.
if(NUV_BUILD_FUZZERS)
  target_compile_options(nuv_build_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

# The programs around the library wait for other processes: nobody would see them optimized any further, and compiling them
# for that takes twice as long.
add_library(nuv_program_flags INTERFACE)
target_compile_options(nuv_program_flags INTERFACE $<$<CONFIG:RelWithDebInfo>:-Og>)
if(NOT NUV_COMPILE_FOLDERS)
  target_compile_options(nuv_program_flags INTERFACE $<$<CONFIG:RelWithDebInfo>:-g1>)
endif()

# What most sources read of the standard library and of GIO, compiled once for a program. Sources include what they use all
# the same: clang-tidy, and a build with CMAKE_DISABLE_PRECOMPILE_HEADERS, compile them without. Not for the library: tests
# link its objects by their names, and the compiled headers would be among them.
function(nuv_compile_headers_once target)
  target_precompile_headers(${target} PRIVATE
    <algorithm> <functional> <map> <memory> <mutex> <optional> <sstream> <string> <vector> <gio/gio.h>)
endfunction()

# For whoever only wants to run what is built: the sources of a folder are compiled as one, which takes half the time. What
# a source keeps to itself is then seen by its neighbours, so two of them give their own things different names.
function(nuv_compile_folders_together target)
  if(NOT NUV_COMPILE_FOLDERS)
    return()
  endif()
  get_target_property(sources ${target} SOURCES)
  set(folders "")
  foreach(source IN LISTS sources)
    get_filename_component(folder ${source} DIRECTORY)
    list(APPEND folders "folder_${folder}")
    set_source_files_properties(${source} PROPERTIES UNITY_GROUP "folder_${folder}")
  endforeach()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
  # Where few read them, compiling headers first is no gain.
  list(REMOVE_DUPLICATES folders)
  list(LENGTH folders count)
  if(count LESS 6)
    set_target_properties(${target} PROPERTIES DISABLE_PRECOMPILE_HEADERS ON)
  endif()
endfunction()

# On a 32-bit machine the host edition looks at files whose inode or offset needs 64 bits; else readdir() finds nothing in
# such a directory. The library itself asks for no more of a file than whether it exists, by the plain name of stat().
set(NUV_HOST_DEFINITIONS "")
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(NUV_HOST_DEFINITIONS _FILE_OFFSET_BITS=64)
endif()

# What is installed finds the libraries beside it, and the linker finds the platform library that the client library
# needs. Where the loader looks by itself, install/loader.cmake takes that away.
if(NUV_BUILD_HOST)
  file(RELATIVE_PATH bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set(CMAKE_INSTALL_RPATH "$ORIGIN/${bin_to_lib}")
endif()
