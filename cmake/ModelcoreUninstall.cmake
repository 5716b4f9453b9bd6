# Removes what `cmake --install` wrote, by the lists that it keeps in the build folder:
#   cmake -DBUILD=build/release -P cmake/ModelcoreUninstall.cmake       or the target `uninstall`
# Folders of the library's own are removed when nothing is left in them; lib, bin, share/man and so on are everybody's
# and stay. DESTDIR counts as it did for the installation. Called a second time, it finds nothing to do.

file(GLOB lists ${BUILD}/install_manifest*.txt)
if(NOT lists)
  message(FATAL_ERROR "${BUILD} has no install_manifest.txt: nothing was installed from it, or all is removed already.")
endif()

set(removed 0)
set(folders)
foreach(list IN LISTS lists)
  file(STRINGS ${list} files)
  foreach(file IN LISTS files)
    set(path "$ENV{DESTDIR}${file}")
    # A link whose target went before it does not "exist", but it is there.
    if(EXISTS "${path}" OR IS_SYMLINK "${path}")
      file(REMOVE "${path}")
      if(EXISTS "${path}" OR IS_SYMLINK "${path}")
        message(FATAL_ERROR "cannot remove ${path}; who installed it may remove it (sudo?)")
      endif()
      math(EXPR removed "${removed} + 1")
    endif()
    # share/doc/modelcore/docs/pictures: this folder, then the one above, as long as a `modelcore` is among the names.
    get_filename_component(folder "${file}" DIRECTORY)
    while(folder MATCHES "/modelcore(/|$)")
      list(APPEND folders "${folder}")
      get_filename_component(folder "${folder}" DIRECTORY)
    endwhile()
  endforeach()
endforeach()

# The longest first: a folder comes before the one that holds it.
list(REMOVE_DUPLICATES folders)
list(SORT folders ORDER DESCENDING)
foreach(folder IN LISTS folders)
  # Not file(REMOVE_RECURSE): this one refuses a folder in which somebody else has put something.
  if(CMAKE_HOST_WIN32)
    file(TO_NATIVE_PATH "$ENV{DESTDIR}${folder}" folder)
    execute_process(COMMAND cmd /c rmdir "${folder}" OUTPUT_QUIET ERROR_QUIET)
  else()
    execute_process(COMMAND rmdir "$ENV{DESTDIR}${folder}" ERROR_QUIET)
  endif()
endforeach()
file(REMOVE ${lists})
message(STATUS "removed ${removed} files")
