# Most of a file's compilation is headers and templates, of the standard library and of googletest
# above all, which each file needs anew. Joined, the files of a suite or of a room of the device are
# compiled as one, in less than half the time. The preset dev compiles each by itself, which shows that
# each includes what it needs; so do release and the packages.
option(VANTACORE_JOIN_SOURCES "Compile the files of each suite, and of each room of the device, as one" OFF)

# The compiler takes the joined files for headers, whose unnamed namespaces it distrusts.
set(VANTACORE_JOINED_OPTIONS -Wno-subobject-linkage)

# vantacore_join_sources(target file...): all but the named files.
function(vantacore_join_sources target)
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 0)
  set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
  target_compile_options(${target} PRIVATE ${VANTACORE_JOINED_OPTIONS})
endfunction()
