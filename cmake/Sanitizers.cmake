option(VANTACORE_SANITIZE "Build with the address, undefined behaviour and leak sanitizers" OFF)

if(VANTACORE_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
    -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
