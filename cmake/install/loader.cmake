# Below / and /usr the loader finds the libraries by itself, and nothing there names a place to look in.
cmake_minimum_required(VERSION 3.22)
if(CMAKE_INSTALL_PREFIX MATCHES "^(/?|/usr/?)$")
  foreach(file IN LISTS CMAKE_INSTALL_MANIFEST_FILES)
    if(file MATCHES "/(nuvctl|nuv-home|libnuv_launcher_api[.]so[.][0-9]+[.][0-9.]+)$")
      file(RPATH_REMOVE FILE "$ENV{DESTDIR}${file}")
    endif()
  endforeach()
endif()
