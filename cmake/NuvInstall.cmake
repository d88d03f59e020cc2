# What an integrator gets: headers, pkg-config file and CMake package.
include(CMakePackageConfigHelpers)

if(NUV_BUILD_HOST)
  set_target_properties(nuv_launcher_api PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()
install(TARGETS nuv_launcher_api EXPORT nuv_launcher_api-targets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/nuv DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT nuv_launcher_api-targets NAMESPACE nuv::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/nuv_launcher_api)

configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/nuv_launcher_api-config.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/nuv_launcher_api-config.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/nuv_launcher_api)
write_basic_package_version_file(
  ${CMAKE_CURRENT_BINARY_DIR}/nuv_launcher_api-config-version.cmake COMPATIBILITY SameMajorVersion)
file(RELATIVE_PATH NUV_CMAKE_TO_BIN
  ${CMAKE_INSTALL_FULL_LIBDIR}/cmake/nuv_launcher_api ${CMAKE_INSTALL_FULL_BINDIR})
configure_file(${PROJECT_SOURCE_DIR}/cmake/nuv_add_test.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/nuv_add_test.cmake @ONLY)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/nuv_add_test.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/nuv_launcher_api-config.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/nuv_launcher_api-config-version.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/nuv_launcher_api)

# The installation may be moved, or staged under another prefix than it was configured for.
file(RELATIVE_PATH NUV_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
foreach(directory IN ITEMS BINDIR INCLUDEDIR LIBDIR)
  set(NUV_PC_${directory} "${CMAKE_INSTALL_${directory}}")
  if(NOT IS_ABSOLUTE "${NUV_PC_${directory}}")
    string(PREPEND NUV_PC_${directory} "\${prefix}/")
  endif()
endforeach()
string(REGEX REPLACE "/$" "" NUV_PC_TO_PREFIX "${NUV_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/nuv-launcher-api.pc.in
               ${CMAKE_CURRENT_BINARY_DIR}/nuv-launcher-api.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/nuv-launcher-api.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
