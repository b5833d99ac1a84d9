# Installs what a host needs: headers and library with their CMake package and pkg-config file, the tool
# with its man pages and completion, and the documents. The companions have install rules of their
# own, into the private folder below that of the library. `cmake --install --component` takes a part
# alone: library (with the companions), development, glpk, tools, mpi or documents.
if(NOT ZDB_INSTALL)
  return()
endif()
include(CMakePackageConfigHelpers)

set(ZDB_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/zdbcclib)

install(TARGETS zdbcclib EXPORT zdbcclib-targets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  COMPONENT library NAMELINK_COMPONENT development)
install(TARGETS zdbcclib64 LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library)
install(EXPORT zdbcclib-targets NAMESPACE zdbcclib:: DESTINATION ${ZDB_PACKAGE_DIR} COMPONENT development)
if(TARGET zkitdclib64)
  install(EXPORT zdbcclib-kit-targets NAMESPACE zdbcclib:: DESTINATION ${ZDB_PACKAGE_DIR} COMPONENT development)
endif()
install(FILES ${PROJECT_SOURCE_DIR}/include/zdbcclib.h ${PROJECT_SOURCE_DIR}/include/zdbx.h
        ${PROJECT_SOURCE_DIR}/include/zdbarrow.h ${PROJECT_SOURCE_DIR}/include/zdbcc.hpp
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/zdbcclib-config.cmake.in
  ${PROJECT_BINARY_DIR}/zdbcclib-config.cmake INSTALL_DESTINATION ${ZDB_PACKAGE_DIR} PATH_VARS ZDB_PRIVATE_LIBDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zdbcclib-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zdbcclib-config.cmake ${PROJECT_BINARY_DIR}/zdbcclib-config-version.cmake
  DESTINATION ${ZDB_PACKAGE_DIR} COMPONENT development)

# The .pc file finds the rest relative to itself, so that an installed tree can be moved.
cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_LIBDIR BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX} NORMALIZE
  OUTPUT_VARIABLE ZDB_PC_DIR)
cmake_path(APPEND ZDB_PC_DIR pkgconfig)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${ZDB_PC_DIR}
  OUTPUT_VARIABLE ZDB_PREFIX_FROM_PC)
configure_file(${CMAKE_CURRENT_LIST_DIR}/zdbcclib.pc.in ${PROJECT_BINARY_DIR}/zdbcclib.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zdbcclib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
if(TARGET zkitdclib64)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/zkitdclib.pc.in ${PROJECT_BINARY_DIR}/zkitdclib.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/zkitdclib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endif()

if(ZDB_BUILD_TOOLS)
  install(TARGETS zdbcc RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  if(TARGET zdbcc-mpi)
    install(TARGETS zdbcc-mpi RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT mpi)
    configure_file(${PROJECT_SOURCE_DIR}/tools/mpi/zdbcc-mpi.1.in ${PROJECT_BINARY_DIR}/zdbcc-mpi.1 @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/zdbcc-mpi.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT mpi)
  endif()
  set(ZDB_PAGES ${PROJECT_BINARY_DIR}/share)
  install(DIRECTORY ${ZDB_PAGES}/man/man1 DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT tools)
  install(FILES ${ZDB_PAGES}/completion/zdbcc
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)
  install(FILES ${ZDB_PAGES}/completion/_zdbcc
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT tools)
  install(FILES ${ZDB_PAGES}/completion/zdbcc.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT tools)
endif()

include(cmake/InstalledDocuments.cmake)
file(GLOB_RECURSE ZDB_DOCUMENTS CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/doc/*.md
  ${PROJECT_SOURCE_DIR}/examples/*/README.md)
install_documents(${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md
  ${PROJECT_SOURCE_DIR}/THIRD_PARTY_NOTICES.md ${ZDB_DOCUMENTS})
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documents)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documents
  PATTERN README.md EXCLUDE PATTERN CMakeLists.txt EXCLUDE)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/doc/pictures DESTINATION ${CMAKE_INSTALL_DOCDIR}/doc COMPONENT documents
  FILES_MATCHING PATTERN *.svg)

# What of the build is installed, without tests and examples.
add_custom_target(installed DEPENDS zdbcclib zdbcclib64)
foreach(part zxfcclib64 zkitdclib64 zlxmdclib64 zkitglpk64 zkitreader64 zdbcc zdbcc-mpi zdbcc_pages zdbcc_sqlite)
  if(TARGET ${part})
    add_dependencies(installed ${part})
  endif()
endforeach()
