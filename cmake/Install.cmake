# Components: library (the shared library), development (its headers, the CMake package and the
# pkg-config file), platform (the platform's headers, which a device maker replaces by the real ones) and
# device (the software device: daemon, client, its libraries and headers for those who have no real
# device at hand, and the rooms of the daemon that other hosts link as well).
include(CMakePackageConfigHelpers)
include(Compressed)

set(VANTACORE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/vantacore)
set(VANTACORE_DEVICE_LIBDIR ${CMAKE_INSTALL_LIBDIR} CACHE STRING
  "Where the software device's libraries are installed")

target_compile_features(vantacore INTERFACE cxx_std_17)
target_include_directories(vantacore INTERFACE
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/vantacore-platform>)
target_link_libraries(vantacore INTERFACE $<INSTALL_INTERFACE:PkgConfig::JSONCPP>)

install(TARGETS vantacore EXPORT vantacore
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library
  NAMELINK_COMPONENT development)
install(EXPORT vantacore NAMESPACE vantacore:: FILE vantacore-library.cmake
  DESTINATION ${VANTACORE_PACKAGE_DIR} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/vantacore
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development FILES_MATCHING PATTERN *.h)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vantacore-platform COMPONENT platform
  FILES_MATCHING PATTERN *.h)

# vantacore_platform is what the library needs around it except for a routing stack: the base classes and
# the protocol routers. vantacore_device has the software stack as well. The libraries refer to each
# other without naming each other, so none may be left out because the executable itself does not
# refer to it.
add_library(vantacore_platform INTERFACE)
set_target_properties(vantacore_platform PROPERTIES EXPORT_NAME platform)
target_include_directories(vantacore_platform INTERFACE
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/vantacore-device>)
target_link_options(vantacore_platform INTERFACE -Wl,--no-as-needed)
target_link_libraries(vantacore_platform INTERFACE vantacore protocol_routers tarsel_base)
add_library(vantacore_device INTERFACE)
set_target_properties(vantacore_device PROPERTIES EXPORT_NAME device)
target_link_libraries(vantacore_device INTERFACE vantacore_platform routing_stack document_check)
install(TARGETS
    vantacore_platform vantacore_device protocol_routers routing_stack tarsel_base document_check
  EXPORT vantacore-device LIBRARY DESTINATION ${VANTACORE_DEVICE_LIBDIR} COMPONENT device)
install(EXPORT vantacore-device NAMESPACE vantacore:: FILE vantacore-device.cmake
  DESTINATION ${VANTACORE_PACKAGE_DIR} COMPONENT device)
foreach(header base/timer_loop.h base/trace_control.h stack/facts.h stack/protocol_rows.h
    stack/routing_stack.h stack/stack_control.h stack/upkeep.h)
  cmake_path(GET header PARENT_PATH folder)
  install(FILES ${PROJECT_SOURCE_DIR}/device/${header}
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vantacore-device/device/${folder} COMPONENT device)
endforeach()

# What a maker's host may link of the daemon, as one archive: reading the configuration folder, applying
# it, and comparing it with the stack. It refers to the library and to the base classes, whichever the
# host is linked with. All headers of these rooms are installed, since they include each other.
set(host_rooms
  program loop documents document_shapes intent plan revisions rows routes keepers apply views)
list(TRANSFORM host_rooms REPLACE "(.+)" "$<TARGET_OBJECTS:\\1>" OUTPUT_VARIABLE host_objects)
add_library(vantacore_host STATIC ${host_objects})
set_target_properties(vantacore_host PROPERTIES EXPORT_NAME host LINKER_LANGUAGE CXX)
target_include_directories(vantacore_host INTERFACE
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/vantacore-device>)
target_link_libraries(vantacore_host INTERFACE vantacore PkgConfig::LIBUV)
install(TARGETS vantacore_host EXPORT vantacore-host
  ARCHIVE DESTINATION ${VANTACORE_DEVICE_LIBDIR} COMPONENT device)
# CMake strips programs and shared libraries only.
install(CODE "
  if(CMAKE_INSTALL_DO_STRIP)
    execute_process(COMMAND ${CMAKE_STRIP} --strip-debug --enable-deterministic-archives
      \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${VANTACORE_DEVICE_LIBDIR}/libvantacore_host.a\"
      COMMAND_ERROR_IS_FATAL ANY)
  endif()" COMPONENT device)
install(EXPORT vantacore-host NAMESPACE vantacore:: FILE vantacore-host.cmake
  DESTINATION ${VANTACORE_PACKAGE_DIR} COMPONENT device)
foreach(folder program loop documents intent plan revisions rows routes keepers apply views)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/device/${folder}
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vantacore-device/device COMPONENT device
    FILES_MATCHING PATTERN *.h)
endforeach()

# The daemon finds its libraries wherever the whole is put.
file(RELATIVE_PATH VANTACORE_BINDIR_TO_DEVICE_LIBDIR
  /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${VANTACORE_DEVICE_LIBDIR})
set_target_properties(vantacored PROPERTIES
  INSTALL_RPATH $ORIGIN/${VANTACORE_BINDIR_TO_DEVICE_LIBDIR})
install(TARGETS vantacored vantacorectl DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT device)
foreach(page vantacored vantacorectl)
  vantacore_install_compressed(
    ${PROJECT_SOURCE_DIR}/docs/man/${page}.1 ${page}.1 ${CMAKE_INSTALL_MANDIR}/man1 device)
endforeach()

# Where systemd looks, for the prefixes /usr and /usr/local.
set(service ${PROJECT_SOURCE_DIR}/device/daemon/service)
set(units ${PROJECT_BINARY_DIR}/service)
configure_file(${service}/vantacored.service.in ${units}/vantacored.service @ONLY)
configure_file(${service}/vantacored.socket ${units}/vantacored.socket COPYONLY)
install(FILES ${units}/vantacored.service ${units}/vantacored.socket
  DESTINATION lib/systemd/system COMPONENT device)
install(FILES ${service}/vantacore.sysusers RENAME vantacore.conf
  DESTINATION lib/sysusers.d COMPONENT device)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/vantacoreConfig.cmake.in
  ${PROJECT_BINARY_DIR}/vantacoreConfig.cmake
  INSTALL_DESTINATION ${VANTACORE_PACKAGE_DIR} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vantacoreConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/vantacoreConfig.cmake ${PROJECT_BINARY_DIR}/vantacoreConfigVersion.cmake
  DESTINATION ${VANTACORE_PACKAGE_DIR} COMPONENT development)

file(RELATIVE_PATH VANTACORE_LIBDIR_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR} /prefix)
foreach(package vantacore vantacore-platform vantacore-device vantacore-host)
  configure_file(
    ${PROJECT_SOURCE_DIR}/cmake/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
endforeach()
install(FILES ${PROJECT_BINARY_DIR}/vantacore.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
install(FILES
  ${PROJECT_BINARY_DIR}/vantacore-platform.pc ${PROJECT_BINARY_DIR}/vantacore-device.pc
  ${PROJECT_BINARY_DIR}/vantacore-host.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT device)
