# What makes a mistake in the code harder to use against the device, for builds that are shipped: the preset
# `release` and the packages. The other builds go without it: their instruction counts are compared over time,
# and sanitizers replace the same functions.
#
# Programs bind at once (full RELRO), libraries on first use: the libraries complete each other, and a
# function that nobody calls need not exist. docs/decisions/libraries.md has the reasons; tools/hardening
# checks what was built.
option(VANTACORE_HARDEN "Build what is shipped: stack protector, FORTIFY, PIE and RELRO" OFF)

if(VANTACORE_HARDEN)
  include(CheckCXXCompilerFlag)
  include(CheckPIESupported)

  # Some compilers define the level themselves, and a second definition would be a warning.
  add_compile_options(-fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
  foreach(flag -fstack-clash-protection -fcf-protection)  # not on each architecture
    string(MAKE_C_IDENTIFIER HAS${flag} has)
    check_cxx_compiler_flag(${flag} ${has})
    if(${has})
      add_compile_options(${flag})
    endif()
  endforeach()

  check_pie_supported(LANGUAGES C CXX)
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
  # Said of libraries too, since some distributions bind at once unless told otherwise.
  add_link_options(LINKER:-z,relro LINKER:-z,noexecstack
    LINKER:-z,$<IF:$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>,now,lazy>)
endif()
