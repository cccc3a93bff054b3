find_package(PkgConfig REQUIRED)
pkg_check_modules(JSONCPP REQUIRED IMPORTED_TARGET jsoncpp)
pkg_check_modules(LIBUV REQUIRED IMPORTED_TARGET libuv)

# By hand, since for another architecture there may be only the library without its development files;
# the headers are the same for all.
find_path(READLINE_INCLUDE_DIR readline/readline.h REQUIRED)
find_library(READLINE_LIBRARY NAMES readline libreadline.so.8 REQUIRED)
add_library(readline INTERFACE)
target_include_directories(readline SYSTEM INTERFACE ${READLINE_INCLUDE_DIR})
target_link_libraries(readline INTERFACE ${READLINE_LIBRARY})

if(BUILD_TESTING)
  find_package(Threads REQUIRED)
  find_package(GTest REQUIRED CONFIG)
  find_package(Python3 REQUIRED COMPONENTS Interpreter)
endif()
