# One place for the warnings of all targets, so that no folder is laxer than another.
add_library(vantacore_warnings INTERFACE)
target_compile_options(vantacore_warnings INTERFACE
  -Wall -Wextra -Wshadow -Wpointer-arith -Werror
  # g++ notes for every by-value argument that the ARM calling convention changed in version 7.1.
  $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},arm>:-Wno-psabi>)
