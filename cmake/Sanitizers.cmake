option(VANTACORE_SANITIZE "Build with the address, undefined behaviour and leak sanitizers" OFF)

if(VANTACORE_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
    -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

# Instruments everything for libFuzzer, which only clang has; the targets in fuzz/ then link its driver
# instead of the replaying one. The library's C callbacks and the routers' hidden classes cross
# library borders, which clang's checks of function and object types take for mistakes.
option(VANTACORE_FUZZ "Build the fuzz targets with libFuzzer (clang)" OFF)

if(VANTACORE_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize=function,vptr
    -fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/fuzz/ignored.txt
    -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined -fno-sanitize=function,vptr)
endif()
