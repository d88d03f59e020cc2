# 32-bit ARM with hard floating point, against NUV_SYSROOT: armhf packages unpacked by scripts/build-armhf.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)  # what it says of GCC 7 is of no use here
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES NUV_SYSROOT)
set(NUV_SYSROOT "" CACHE PATH "Where the armhf packages are unpacked")

set(CMAKE_FIND_ROOT_PATH ${NUV_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${NUV_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${NUV_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${NUV_SYSROOT}/usr/share/pkgconfig)

# The libraries of the packages are found beside each other when linking, and when qemu runs a program (old tags: they
# hold for the libraries of libraries, too).
set(CMAKE_BUILD_RPATH ${NUV_SYSROOT}/usr/lib/arm-linux-gnueabihf ${NUV_SYSROOT}/lib/arm-linux-gnueabihf)
foreach(kind EXE SHARED)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT
    "-Wl,--disable-new-dtags -Wl,-rpath-link,${NUV_SYSROOT}/usr/lib/arm-linux-gnueabihf:${NUV_SYSROOT}/lib/arm-linux-gnueabihf")
endforeach()
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/arm-linux-gnueabihf)
