# `cpack` makes four Debian packages, one a component of `cmake --install`:
#   libmodelcore930  what a compiled program needs         modelcore-tools  the programs
#   libmodelcore-dev what compiling one needs              modelcore-doc    guides and schema
# The library's package is named after its soname, so that programs built with an older binary interface keep theirs.
# Configured by the preset `package`; scripts/package builds, checks and tries the packages.

if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr" OR NOT BUILD_SHARED_LIBS OR NOT MODELCORE_BUILD_TOOLS OR NOT MODELCORE_INSTALL)
  message(FATAL_ERROR "Debian packages (MODELCORE_PACKAGE) are made of a shared library with its programs under /usr: "
    "use the preset `package`.")
endif()
if(MODELCORE_BUILD_TESTS OR MODELCORE_SANITIZE)
  message(FATAL_ERROR "Debian packages (MODELCORE_PACKAGE) are not made of a library built for the tests: it exports what "
    "only they call.")
endif()

get_target_property(abi modelcore SOVERSION)
set(MODELCORE_DEBIAN ${PROJECT_BINARY_DIR}/debian)
set(MODELCORE_DEBIAN_VERSION ${PROJECT_VERSION}-1)

# Who answers for the packages: as Debian's own tools ask for it, else whoever made the last commit.
set(maintainer "$ENV{DEBFULLNAME} <$ENV{DEBEMAIL}>")
if("$ENV{DEBEMAIL}" STREQUAL "")
  execute_process(COMMAND git -C ${PROJECT_SOURCE_DIR} log -1 "--format=%an <%ae>"
    OUTPUT_VARIABLE maintainer OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
if(NOT maintainer)
  message(FATAL_ERROR "A Debian package names its maintainer: set the environment variables DEBFULLNAME and DEBEMAIL.")
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library development programs documentation)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_PACKAGE_NAME modelcore)
set(CPACK_PACKAGE_CONTACT "${maintainer}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # else it would be the first line of each description below
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${maintainer}")
set(CPACK_DEBIAN_PACKAGE_SOURCE modelcore)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# What Debian's own files (copyright, changelogs) and the manual pages need is done between installing and packing.
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/ModelcorePackageFiles.cmake)

# modelcore_package(component NAME package SECTION section DEPENDS ... SUGGESTS ... DESCRIPTION synopsis, then lines)
function(modelcore_package component)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "NAME;SECTION;DEPENDS;SUGGESTS" "DESCRIPTION")
  string(TOUPPER ${component} upper)
  list(JOIN arg_DESCRIPTION "\n" text)
  foreach(pair "NAME:${arg_NAME}" "SECTION:${arg_SECTION}" "DEPENDS:${arg_DEPENDS}" "SUGGESTS:${arg_SUGGESTS}")
    string(REGEX MATCH "^([A-Z]+):(.*)$" pair "${pair}")
    set(CPACK_DEBIAN_${upper}_PACKAGE_${CMAKE_MATCH_1} "${CMAKE_MATCH_2}" PARENT_SCOPE)
  endforeach()
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${text}" PARENT_SCOPE)
endfunction()

set(about
  "modelcore gives to those who write statistical procedures: weighted means"
  "and cross products that are updated and merged exactly, the sweep operator,"
  "matrices, BLAS level 1 and LINPACK, distribution functions with their"
  "digits, random numbers, encoders of variables, XML, JSON and PMML documents."
  "The same input gives the same bits on every machine."
  ".")
modelcore_package(library NAME libmodelcore${abi} SECTION libs DESCRIPTION
  "numerical and statistical services for procedures - library"
  ${about} "This package holds the shared library.")
modelcore_package(development NAME libmodelcore-dev SECTION libdevel SUGGESTS "modelcore-doc, pkg-config, cmake"
  DEPENDS "libmodelcore${abi} (= ${MODELCORE_DEBIAN_VERSION})" DESCRIPTION
  "numerical and statistical services for procedures - development"
  ${about} "This package holds the headers and the files for CMake and pkg-config.")
modelcore_package(programs NAME modelcore-tools SECTION math SUGGESTS "modelcore-doc"
  DEPENDS "libmodelcore${abi} (>= ${MODELCORE_DEBIAN_VERSION})" DESCRIPTION
  "describe, fit and judge models of CSV data from the command line"
  "describe says what the columns of a file are; linreg and logreg fit linear"
  "and logistic regressions with interactions, factors and weights; evaluate"
  "says how good a score is. All four read files of any length in constant"
  "memory, give the same bits on any number of threads, and write tables,"
  "JSON, CSV, StatXML, PMML and charts.")
modelcore_package(documentation NAME modelcore-doc SECTION doc SUGGESTS "libmodelcore-dev, modelcore-tools" DESCRIPTION
  "numerical and statistical services for procedures - guides"
  ${about} "This package holds the guides and the schema of StatXML documents.")
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)

# Dependencies are read from the binaries; of the programs' own library, which is in no package yet, it is said above.
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/modelcore)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
# The loader's list of libraries is renewed by a trigger. CPack would write maintainer scripts for it, which Debian has
# given up; a script that is named here but is not there keeps it from doing so.
file(WRITE ${MODELCORE_DEBIAN}/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA
  ${MODELCORE_DEBIAN}/triggers ${MODELCORE_DEBIAN}/none/postinst ${MODELCORE_DEBIAN}/none/postrm)

# With SOURCE_DATE_EPOCH set, as scripts/package does, the same commit gives the same files.
string(TIMESTAMP MODELCORE_DEBIAN_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/changelog.in ${MODELCORE_DEBIAN}/changelog @ONLY)
set(CPACK_MODELCORE_SOURCE ${PROJECT_SOURCE_DIR})
set(CPACK_MODELCORE_DEBIAN ${MODELCORE_DEBIAN})
include(CPack)
