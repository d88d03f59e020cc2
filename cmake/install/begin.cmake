# Before anything is installed: which directories are not there yet. "uninstall" removes those that this installation
# makes, and no others, however empty they become.
cmake_minimum_required(VERSION 3.22)
set(NUV_MADE_DIRECTORIES "")
foreach(directory IN LISTS NUV_INSTALL_DIRECTORIES)
  cmake_path(ABSOLUTE_PATH directory BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}/" NORMALIZE)
  while(NOT EXISTS "$ENV{DESTDIR}${directory}" AND NOT directory STREQUAL "/")
    list(APPEND NUV_MADE_DIRECTORIES "${directory}")
    get_filename_component(directory "${directory}" DIRECTORY)
  endwhile()
endforeach()
