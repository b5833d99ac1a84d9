# zdb_layer(NAME [USES layer...]): makes the caller's folder the layer NAME, compiled once as the
# objects zdb_NAME. USES lists every layer that it may use, directly or not; they must come first.
#
# Linking proves that it uses no other: with ZDB_SHARED_LAYERS each layer becomes a shared library
# that is linked with those in its list, and tests (tests/layers) link its objects with theirs and
# nothing else. Both fail if a symbol is undefined.
set_property(GLOBAL PROPERTY ZDB_LAYERS "")

function(zdb_layer name)
  cmake_parse_arguments(ARG "" "" "USES" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  add_library(zdb_${name} OBJECT ${sources})
  target_include_directories(zdb_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(zdb_${name} PUBLIC zdb_flags)
  set_target_properties(zdb_${name} PROPERTIES ZDB_USES "${ARG_USES}")
  set_property(GLOBAL APPEND PROPERTY ZDB_LAYERS ${name})
  if(ZDB_SHARED_LAYERS)
    zdb_shared_layer(${name} ${ARG_USES})
  endif()
endfunction()

# Symbols are visible in these libraries, while the library of all layers hides them.
function(zdb_shared_layer name)
  set_target_properties(zdb_${name} PROPERTIES CXX_VISIBILITY_PRESET default VISIBILITY_INLINES_HIDDEN OFF)
  add_library(zdb_layer_${name} SHARED $<TARGET_OBJECTS:zdb_${name}>)
  list(TRANSFORM ARGN PREPEND zdb_layer_)
  target_link_libraries(zdb_layer_${name} PRIVATE zdb_flags ${ARGN} ${CMAKE_DL_LIBS})
  target_link_options(zdb_layer_${name} PRIVATE -Wl,-z,defs)
  set_target_properties(zdb_layer_${name} PROPERTIES LINKER_LANGUAGE CXX)
endfunction()
