# How the bus starts the service: by the place that the programs are installed to, which is known now and not before.
cmake_minimum_required(VERSION 3.22)
foreach(directory IN ITEMS BINDIR DATADIR)
  cmake_path(ABSOLUTE_PATH NUV_${directory} BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}/" NORMALIZE
             OUTPUT_VARIABLE NUV_REAL_${directory})
endforeach()
foreach(NUV_SERVER litecorvane corvane)
  set(service "${NUV_REAL_DATADIR}/dbus-1/system-services/org.kelvo.tv.${NUV_SERVER}.server.service")
  message(STATUS "Installing: $ENV{DESTDIR}${service}")
  configure_file("${NUV_SERVICE_TEMPLATE}" "$ENV{DESTDIR}${service}" @ONLY)
  list(APPEND CMAKE_INSTALL_MANIFEST_FILES "${service}")
endforeach()
