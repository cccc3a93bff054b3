# The library with its headers, and, as a component of its own, the platform's headers, which a device
# maker replaces by the real ones.
install(TARGETS vantacore
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library
  NAMELINK_COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/vantacore
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development FILES_MATCHING PATTERN *.h)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vantacore-platform COMPONENT platform
  FILES_MATCHING PATTERN *.h)

file(RELATIVE_PATH VANTACORE_LIBDIR_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR} /prefix)
configure_file(${PROJECT_SOURCE_DIR}/cmake/vantacore.pc.in ${PROJECT_BINARY_DIR}/vantacore.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vantacore.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
