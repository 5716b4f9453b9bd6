# What `cmake --install` writes: the library and its headers, the files by which CMake and pkg-config find it, the
# programs, the documentation and the schema of the documents. `cmake --install` takes all of it, `--component NAME` the part
# that a package of its own carries: library (what a compiled program needs), development, programs, documentation.

include(CMakePackageConfigHelpers)

# A file set at an absolute path comes out wrong in the exported target, so it is always told from the prefix.
file(RELATIVE_PATH MODELCORE_INCLUDES ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
install(TARGETS modelcore EXPORT modelcoreTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library
  FILE_SET HEADERS DESTINATION ${MODELCORE_INCLUDES} COMPONENT development
  FILE_SET generated DESTINATION ${MODELCORE_INCLUDES} COMPONENT development)

# A program that asks for version 9 gets any 9.x: within a major version nothing is taken away.
set(MODELCORE_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/modelcore)
install(EXPORT modelcoreTargets NAMESPACE modelcore:: DESTINATION ${MODELCORE_CMAKE_DIR} COMPONENT development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/modelcoreConfig.cmake.in
  ${PROJECT_BINARY_DIR}/modelcoreConfig.cmake INSTALL_DESTINATION ${MODELCORE_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/modelcoreConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/modelcoreConfig.cmake ${PROJECT_BINARY_DIR}/modelcoreConfigVersion.cmake
  DESTINATION ${MODELCORE_CMAKE_DIR} COMPONENT development)

# The package can be moved as a whole, unless its folders were given as absolute paths: those are meant.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(MODELCORE_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
  set(MODELCORE_PC_LIBDIR ${CMAKE_INSTALL_LIBDIR})
else()
  file(RELATIVE_PATH up ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
  set(MODELCORE_PC_PREFIX "\${pcfiledir}/${up}")
  set(MODELCORE_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
endif()
if(IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  set(MODELCORE_PC_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
else()
  set(MODELCORE_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
if(NOT BUILD_SHARED_LIBS)
  set(MODELCORE_PC_DEFINES " -DMODELCORE_STATIC_DEFINE")
  set(MODELCORE_PC_PRIVATE ${CMAKE_DL_LIBS})
  list(TRANSFORM MODELCORE_PC_PRIVATE PREPEND " -l")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/modelcore.pc.in ${PROJECT_BINARY_DIR}/modelcore.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/modelcore.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

if(MODELCORE_BUILD_TOOLS)
  # The programs find the library beside them, wherever the package is.
  file(RELATIVE_PATH up ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(${MODELCORE_PROGRAMS} PROPERTIES INSTALL_RPATH "$ORIGIN/${up}")
  install(TARGETS ${MODELCORE_PROGRAMS} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT programs)
  # Manual pages and completion come from the programs themselves, which only this machine's own builds can run.
  if(NOT CMAKE_CROSSCOMPILING)
    foreach(program IN LISTS MODELCORE_PROGRAMS)
      install(FILES ${PROJECT_BINARY_DIR}/manual/${program}.1
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT programs)
      install(FILES ${PROJECT_BINARY_DIR}/manual/${program}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT programs)
    endforeach()
  endif()
endif()
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation
  FILES_MATCHING PATTERN "*.md" PATTERN "*.svg" PATTERN snippets EXCLUDE PATTERN schema EXCLUDE PATTERN site EXCLUDE)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/schema
  DESTINATION ${CMAKE_INSTALL_DATADIR}/modelcore COMPONENT documentation)

# Takes away what the last `cmake --install` from this build folder put anywhere, whatever prefix it was given. Not where
# packages are made: cpack leaves such lists too, of files under /usr that are dpkg's.
if(PROJECT_IS_TOP_LEVEL AND NOT MODELCORE_PACKAGE)
  add_custom_target(uninstall VERBATIM
    COMMAND ${CMAKE_COMMAND} -DBUILD=${PROJECT_BINARY_DIR} -P ${PROJECT_SOURCE_DIR}/cmake/ModelcoreUninstall.cmake)
endif()
