# What surrounds an installation: nuv_begin_installation() stands before all rules that install something, and
# nuv_end_installation() behind them.
set(NUV_SYSTEMD_DIR lib)

function(nuv_begin_installation)
  set(directories ${CMAKE_INSTALL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_LIBDIR}/cmake/nuv_launcher_api
    ${CMAKE_INSTALL_INCLUDEDIR}/nuv)
  if(NUV_BUILD_HOST)
    list(APPEND directories
      ${CMAKE_INSTALL_BINDIR} ${CMAKE_INSTALL_INCLUDEDIR}/nuv-platform/nuv_platform ${CMAKE_INSTALL_DATADIR}/nuv/schemas
      ${CMAKE_INSTALL_DATADIR}/dbus-1/interfaces ${CMAKE_INSTALL_DATADIR}/dbus-1/system-services
      ${CMAKE_INSTALL_DATADIR}/dbus-1/system.d ${NUV_SYSTEMD_DIR}/sysusers.d ${NUV_SYSTEMD_DIR}/tmpfiles.d
      ${CMAKE_INSTALL_DATADIR}/bash-completion/completions ${CMAKE_INSTALL_DATADIR}/zsh/site-functions
      ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d ${CMAKE_INSTALL_MANDIR}/man1)
  endif()
  if(NUV_BUILD_REFERENCE)
    list(APPEND directories ${CMAKE_INSTALL_DOCDIR}/html ${CMAKE_INSTALL_MANDIR}/man3)
  endif()
  set(built $<TARGET_FILE:nuv_launcher_api>)
  if(NUV_BUILD_HOST)
    foreach(target IN ITEMS nuv_platform_host nuv-simulator nuvctl nuv-session nuv-platform-check)
      list(APPEND built $<TARGET_FILE:${target}>)
    endforeach()
    list(APPEND built $<$<TARGET_EXISTS:nuv-home>:$<TARGET_FILE:nuv-home>>)
    list(APPEND built $<$<TARGET_EXISTS:nuv_man_pages>:$<TARGET_PROPERTY:nuv_man_pages,NUV_PAGES>>)
  endif()
  if(NUV_BUILD_REFERENCE)
    list(APPEND built $<TARGET_PROPERTY:reference,NUV_PAGES>)
  endif()
  # What the scripts in install/ are told.
  install(CODE "set(NUV_BUILT_FILES \"${built}\")
set(NUV_INSTALL_DIRECTORIES \"${directories}\")
set(NUV_BUILD_DIRECTORY \"${PROJECT_BINARY_DIR}\")
set(NUV_HOST ${NUV_BUILD_HOST})
set(NUV_BINDIR \"${CMAKE_INSTALL_BINDIR}\")
set(NUV_LIBDIR \"${CMAKE_INSTALL_LIBDIR}\")
set(NUV_DATADIR \"${CMAKE_INSTALL_DATADIR}\")
set(NUV_SYSTEMD_DIR \"${NUV_SYSTEMD_DIR}\")")
  install(SCRIPT ${PROJECT_SOURCE_DIR}/cmake/install/begin.cmake)
endfunction()

function(nuv_end_installation)
  install(CODE "set(NUV_INSTALL_RECORD \"${PROJECT_BINARY_DIR}/install_record.txt\")")
  foreach(script IN ITEMS loader end left_to_do)
    install(SCRIPT ${PROJECT_SOURCE_DIR}/cmake/install/${script}.cmake)
  endforeach()
  add_custom_target(uninstall
    COMMAND ${CMAKE_COMMAND} -D NUV_BUILD_DIRECTORY=${PROJECT_BINARY_DIR}
            -P ${PROJECT_SOURCE_DIR}/cmake/install/uninstall.cmake
    USES_TERMINAL VERBATIM)
endfunction()
