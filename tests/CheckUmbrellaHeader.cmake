# Fails when a public header is not included by modelcore/modelcore.h. Public are the headers directly in a folder of
# modelcore/; those in internal/ and kernels/ are not.
file(GLOB headers RELATIVE ${ROOT} ${ROOT}/modelcore/*/*.h)
file(READ ${ROOT}/modelcore/modelcore.h umbrella)
set(missing "")
foreach(header IN LISTS headers)
  string(FIND "${umbrella}" "#include \"${header}\"" at)
  if(at EQUAL -1)
    list(APPEND missing ${header})
  endif()
endforeach()
if(missing)
  message(FATAL_ERROR "not included by modelcore/modelcore.h: ${missing}")
endif()
