# install_documents(FILE...): installs Markdown files of the source tree, each where it is in the tree, so
# that links between them stay right. Links to headers lead to where those are installed; of links
# to what is not, the text remains.
function(install_documents)
  cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_INCLUDEDIR BASE_DIRECTORY ${CMAKE_INSTALL_FULL_DOCDIR}
    OUTPUT_VARIABLE headers)
  set(sources "src|companions|tools|python|tests|fuzz|bench|script|CONTRIBUTING.md")
  foreach(file IN LISTS ARGN)
    cmake_path(RELATIVE_PATH file BASE_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE place)
    cmake_path(GET place PARENT_PATH folder)
    file(READ ${file} text)
    string(REPLACE "](include/" "](${headers}/" text "${text}")
    string(REPLACE "](../include/" "](../${headers}/" text "${text}")
    string(REPLACE "](../../include/" "](../../${headers}/" text "${text}")
    string(REGEX REPLACE "\\[([^]]*)\\]\\((\\.\\./)*(${sources})(/[^)]*)?\\)" "\\1" text "${text}")
    file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/installed/${place} CONTENT "${text}")
    set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
    install(FILES ${PROJECT_BINARY_DIR}/installed/${place} DESTINATION ${CMAKE_INSTALL_DOCDIR}/${folder}
      COMPONENT documents)
  endforeach()
endfunction()
