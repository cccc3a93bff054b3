# One place for the warnings of all targets, so that no folder is laxer than another.
add_library(vantacore_warnings INTERFACE)
target_compile_options(vantacore_warnings INTERFACE
  -Wall -Wextra -Wpointer-arith -Werror
  # A name of one file does not hide one of another that is joined with it.
  $<$<NOT:$<BOOL:${VANTACORE_JOIN_SOURCES}>>:-Wshadow>
  # The public classes keep fields that nothing reads, since their layout is fixed.
  $<$<CXX_COMPILER_ID:Clang>:-Wno-unused-private-field>
  # g++ notes for every by-value argument that the ARM calling convention changed in version 7.1.
  $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},arm>:-Wno-psabi>)
