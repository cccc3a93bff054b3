# Debian packages of the install components, one package per group. tools/packages is the command that
# configures a tree for it, makes the packages and checks them; here is what is in them.
#
#   libvantacore1      the library
#   libvantacore-dev   what compiles and links against it
#   vantacore-device   the software device: daemon, client, its libraries and their headers
#
# The device's libraries stand in for a platform that a device maker brings along, and are called like its
# libraries, so they stay out of the way in a folder of their own (VANTACORE_DEVICE_LIBDIR).
set(VANTACORE_PACKAGE_ARCHITECTURE "" CACHE STRING
  "The Debian architecture to make packages for; empty for none")
if(NOT VANTACORE_PACKAGE_ARCHITECTURE)
  return()
endif()

set(DEBIAN_REVISION 1)
set(DEBIAN_VERSION ${PROJECT_VERSION}-${DEBIAN_REVISION})
set(library_package libvantacore${PROJECT_VERSION_MAJOR})
set(PACKAGE_FILES ${PROJECT_SOURCE_DIR}/cmake/packages)

# Every package has the changelog and the copyright, and what lintian says of it without cause.
foreach(pair library:${library_package} development:libvantacore-dev device:vantacore-device)
  string(REGEX MATCH "^(.*):(.*)$" pair ${pair})
  set(component ${CMAKE_MATCH_1})
  set(package ${CMAKE_MATCH_2})
  set(${component}_docs ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package})
  vantacore_install_compressed(
    ${PACKAGE_FILES}/changelog changelog.Debian ${${component}_docs} ${component})
  install(FILES ${PACKAGE_FILES}/copyright DESTINATION ${${component}_docs} COMPONENT ${component})
  install(FILES ${PACKAGE_FILES}/${component}.lintian-overrides RENAME ${package}
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides COMPONENT ${component})
endforeach()

# What somebody who writes against the library reads, and what an operator reads. Pages that both refer
# to are in both, since neither package needs the other.
set(pages ${PROJECT_SOURCE_DIR}/docs)
install(FILES ${pages}/embedding.md ${pages}/abi.md ${pages}/performance.md
  DESTINATION ${development_docs} COMPONENT development)
foreach(component development device)
  install(FILES ${pages}/glossary.md ${pages}/operations.md ${pages}/changing-a-device.md
    ${pages}/console.md ${pages}/documents.md ${pages}/json.md
    DESTINATION ${${component}_docs} COMPONENT ${component})
  install(DIRECTORY ${pages}/decisions ${pages}/schema
    DESTINATION ${${component}_docs} COMPONENT ${component})
endforeach()
set(examples ${PROJECT_SOURCE_DIR}/examples)
install(DIRECTORY ${examples}/embedding ${examples}/first-router ${examples}/maker-host
  DESTINATION ${development_docs}/examples COMPONENT development)
install(DIRECTORY ${examples}/first-network DESTINATION ${device_docs}/examples COMPONENT device)
install(FILES ${PROJECT_SOURCE_DIR}/device/daemon/service/kernel.conf
  DESTINATION ${device_docs}/examples/vantacored.service.d COMPONENT device)

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_COMPONENTS_ALL library development platform device)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_NAME vantacore)
set(CPACK_PACKAGE_VENDOR "the vantacore developers")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "vantacore developers <vantacore@example.org>")
set(CPACK_DEBIAN_PACKAGE_SOURCE vantacore)
set(CPACK_DEBIAN_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_PACKAGE_RELEASE ${DEBIAN_REVISION})
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${VANTACORE_PACKAGE_ARCHITECTURE})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})

# For programs that others package: which package has the library, and since when what they link is in it.
configure_file(${PACKAGE_FILES}/shlibs.in ${PROJECT_BINARY_DIR}/packages/shlibs @ONLY)

# CPack knows no field Multi-Arch. It writes a field's text as it is, so the line goes after the section.
set(MULTI_ARCH "\nMulti-Arch: same")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION "libs${MULTI_ARCH}")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA
  ${PACKAGE_FILES}/triggers ${PROJECT_BINARY_DIR}/packages/shlibs)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "routing configuration of a network device - library
libvantacore runs inside the routing process of a network device, between the
management plane and the routing stack. It takes JSON documents, interface
events and operator commands, and turns them into rows for the stack.
.
This package has the shared library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvantacore-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION "libdevel${MULTI_ARCH}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "${library_package} (= ${DEBIAN_VERSION}), libjsoncpp-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "pkg-config")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "vantacore-device (= ${DEBIAN_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "routing configuration of a network device - development files
libvantacore runs inside the routing process of a network device, between the
management plane and the routing stack. It takes JSON documents, interface
events and operator commands, and turns them into rows for the stack.
.
This package has the headers of the library and of the platform that it needs,
the CMake package, the pkg-config file, the guide and the examples. The
libraries to try them with are in vantacore-device.")

set(CPACK_DEBIAN_DEVICE_PACKAGE_NAME vantacore-device)
set(CPACK_DEBIAN_DEVICE_PACKAGE_SECTION net)
set(CPACK_DEBIAN_DEVICE_PACKAGE_DEPENDS "${library_package} (= ${DEBIAN_VERSION})")
set(CPACK_DEBIAN_DEVICE_PACKAGE_CONTROL_EXTRA ${PACKAGE_FILES}/device-scripts/postinst
  ${PACKAGE_FILES}/device-scripts/prerm ${PACKAGE_FILES}/device-scripts/postrm)
set(CPACK_DEBIAN_DEVICE_PACKAGE_SUGGESTS
  "libvantacore-dev (= ${DEBIAN_VERSION}), libuv1-dev")
set(CPACK_DEBIAN_DEVICE_DESCRIPTION "routing configuration of a network device - software device
libvantacore runs inside the routing process of a network device, between the
management plane and the routing stack. The software device is what it needs
around it on any Linux machine: base classes, a routing stack, protocol
routers, and a daemon that reads a configuration folder.
.
This package has the daemon, its console client, the units for systemd, the
device's libraries with their headers, and the operator's documents. It starts
and enables nothing by itself.")

include(CPack)
cpack_add_component(library GROUP library)
cpack_add_component(development GROUP development)
cpack_add_component(platform GROUP development)
cpack_add_component(device GROUP device)
foreach(group library development device)
  cpack_add_component_group(${group})
endforeach()
