# zdb_layer(NAME [USES layer...]): the folder of the caller as the layer NAME, compiled once as the
# objects zdb_NAME. USES names every layer that it may use, directly or not, which come before it.
#
# That it uses no other is shown by linking it: with ZDB_SHARED_LAYERS each layer becomes a shared
# library over those that it names, and tests (tests/layers) link its objects with theirs and nothing
# else. Both refuse what is left undefined.
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

# What a layer offers to those above it is visible here, as nothing is in the library of all layers.
function(zdb_shared_layer name)
  set_target_properties(zdb_${name} PROPERTIES CXX_VISIBILITY_PRESET default VISIBILITY_INLINES_HIDDEN OFF)
  add_library(zdb_layer_${name} SHARED $<TARGET_OBJECTS:zdb_${name}>)
  list(TRANSFORM ARGN PREPEND zdb_layer_)
  target_link_libraries(zdb_layer_${name} PRIVATE zdb_flags ${ARGN} ${CMAKE_DL_LIBS})
  target_link_options(zdb_layer_${name} PRIVATE -Wl,-z,defs)
  set_target_properties(zdb_layer_${name} PROPERTIES LINKER_LANGUAGE CXX)
endfunction()
