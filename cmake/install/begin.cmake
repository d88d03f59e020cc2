# Before anything is installed: is all of it built? Half an installation would be worse than none.
cmake_minimum_required(VERSION 3.22)
list(REMOVE_ITEM NUV_BUILT_FILES "")    # where there are no man pages
foreach(file IN LISTS NUV_BUILT_FILES)
  if(NOT EXISTS "${file}")
    message(FATAL_ERROR "not built yet: ${file}; nothing is installed. First: cmake --build ${NUV_BUILD_DIRECTORY}")
  endif()
endforeach()

# Which directories are not there yet. "uninstall" removes those that this installation makes, and no others, however empty
# they become.
set(NUV_MADE_DIRECTORIES "")
foreach(directory IN LISTS NUV_INSTALL_DIRECTORIES)
  cmake_path(ABSOLUTE_PATH directory BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}/" NORMALIZE)
  while(NOT EXISTS "$ENV{DESTDIR}${directory}" AND NOT directory STREQUAL "/")
    list(APPEND NUV_MADE_DIRECTORIES "${directory}")
    get_filename_component(directory "${directory}" DIRECTORY)
  endwhile()
endforeach()
