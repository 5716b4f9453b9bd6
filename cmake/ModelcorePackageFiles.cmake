# Run by cpack when the components are installed in its own folder, before they are packed: what Debian packages have and
# `cmake --install` does not.

find_program(GZIP gzip REQUIRED)
# Without name and time, so that the same text gives the same file.
function(compress)
  execute_process(COMMAND ${GZIP} -9nf ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  set(usr ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr)
  string(TOUPPER ${component} upper)
  set(doc ${usr}/share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})

  file(READ ${CPACK_MODELCORE_SOURCE}/cmake/debian/copyright copyright)
  if(EXISTS ${CPACK_MODELCORE_SOURCE}/cmake/debian/copyright.${component})
    file(READ ${CPACK_MODELCORE_SOURCE}/cmake/debian/copyright.${component} more)
    string(APPEND copyright "${more}")
  endif()
  file(WRITE ${doc}/copyright "${copyright}")
  configure_file(${CPACK_MODELCORE_DEBIAN}/changelog ${doc}/changelog.Debian COPYONLY)
  configure_file(${CPACK_MODELCORE_SOURCE}/CHANGELOG.md ${doc}/changelog COPYONLY)
  compress(${doc}/changelog.Debian ${doc}/changelog)
  configure_file(${CPACK_MODELCORE_SOURCE}/cmake/debian/lintian-overrides
    ${usr}/share/lintian/overrides/${CPACK_DEBIAN_${upper}_PACKAGE_NAME} COPYONLY)

  file(GLOB pages ${usr}/share/man/man*/*)
  if(pages)
    compress(${pages})
  endif()
  # In /usr the loader finds the library by itself. What is installed elsewhere needs the path beside the program.
  file(GLOB programs ${usr}/bin/*)
  foreach(program IN LISTS programs)
    file(RPATH_REMOVE FILE ${program})
  endforeach()
  # The modes of an installation, not those of the one who builds.
  file(GLOB_RECURSE paths LIST_DIRECTORIES true ${usr}/*)
  foreach(path IN LISTS paths ITEMS ${usr})
    if(IS_DIRECTORY ${path})
      file(CHMOD ${path} PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    elseif(path MATCHES "/share/")
      file(CHMOD ${path} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
    endif()
  endforeach()
endforeach()
