find_program(GZIP gzip REQUIRED)

# vantacore_install_compressed(file name folder component): gzip keeps the file's name and time out of it,
# so that the same sources make the same package.
function(vantacore_install_compressed file name folder component)
  set(compressed ${PROJECT_BINARY_DIR}/compressed/${name}.gz)
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/compressed)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
  execute_process(COMMAND ${GZIP} -9nc ${file} OUTPUT_FILE ${compressed} COMMAND_ERROR_IS_FATAL ANY)
  install(FILES ${compressed} DESTINATION ${folder} COMPONENT ${component})
endfunction()
