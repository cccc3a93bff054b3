# vantacore_headers: what every source file of the project may see.
add_library(vantacore_headers INTERFACE)
target_include_directories(vantacore_headers INTERFACE
  ${PROJECT_SOURCE_DIR}/include
  ${PROJECT_SOURCE_DIR}/platform
  ${PROJECT_SOURCE_DIR})
target_include_directories(vantacore_headers SYSTEM INTERFACE ${JSONCPP_INCLUDE_DIRS})
target_link_libraries(vantacore_headers INTERFACE vantacore_warnings)

# vantacore_system: the library and the software device together. The library and the three device
# libraries refer to each other (base classes one way, callbacks the other), so none of them names
# another and every executable links all four. A device maker replaces the last three.
add_library(vantacore_system INTERFACE)
target_link_libraries(vantacore_system INTERFACE
  vantacore_headers
  vantacore protocol_routers routing_stack tarsel_base PkgConfig::JSONCPP)
# Some distributions drop libraries that the executable itself does not refer to.
target_link_options(vantacore_system INTERFACE -Wl,--no-as-needed)
