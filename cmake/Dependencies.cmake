find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
pkg_check_modules(JSONCPP REQUIRED IMPORTED_TARGET jsoncpp)
pkg_check_modules(LIBUV REQUIRED IMPORTED_TARGET libuv)
pkg_check_modules(MNL REQUIRED IMPORTED_TARGET libmnl)

# By hand, since there is no description of it for pkg-config.
find_path(TECLA_INCLUDE_DIR libtecla.h REQUIRED)
find_library(TECLA_LIBRARY tecla REQUIRED)
add_library(tecla INTERFACE)
target_include_directories(tecla SYSTEM INTERFACE ${TECLA_INCLUDE_DIR})
target_link_libraries(tecla INTERFACE ${TECLA_LIBRARY})

# Headers only.
find_path(RAPIDJSON_INCLUDE_DIR rapidjson/reader.h REQUIRED)
find_path(XXHASH_INCLUDE_DIR xxhash.h REQUIRED)
add_library(reader_headers INTERFACE)
target_include_directories(reader_headers SYSTEM INTERFACE
  ${RAPIDJSON_INCLUDE_DIR} ${XXHASH_INCLUDE_DIR})

if(BUILD_TESTING)
  find_package(GTest REQUIRED CONFIG)
  find_package(Python3 REQUIRED COMPONENTS Interpreter)
endif()
