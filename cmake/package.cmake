# Debian packages, one for each component that is installed. cpack in the build folder makes them, scripts/package with
# Debian's folders.
find_program(KIP_DPKG_SHLIBDEPS dpkg-shlibdeps)
find_program(KIP_GZIP gzip)
mark_as_advanced(KIP_DPKG_SHLIBDEPS KIP_GZIP)
if(NOT KIP_DPKG_SHLIBDEPS OR NOT KIP_GZIP)
  message(STATUS "Left out: Debian packages; missing: dpkg-shlibdeps (dpkg-dev) or gzip")
  return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "kipgauss maintainers <maintainers@kipgauss.invalid>" CACHE STRING
    "Maintainer of the packages: name <address>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL "")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # the first line of each package's own description
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/triggers)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/debian/compress_manuals.cmake)
# The libraries a package needs are looked for among the system's and those of the build.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})

string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(packaging/debian/changelog.in ${PROJECT_BINARY_DIR}/debian/changelog.Debian @ONLY)
configure_file(CHANGELOG.md ${PROJECT_BINARY_DIR}/debian/changelog COPYONLY)
execute_process(COMMAND ${KIP_GZIP} -9nf changelog changelog.Debian WORKING_DIRECTORY ${PROJECT_BINARY_DIR}/debian
                COMMAND_ERROR_IS_FATAL ANY)

# The files that every package holds under its own name are of use in packages only.
macro(kip_package component name section description)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_COMPONENT_${upper}_DESCRIPTION ${description})
  if(NOT ${component} STREQUAL runtime)
    set(CPACK_COMPONENT_${upper}_DEPENDS runtime)
  endif()
  install(FILES packaging/debian/copyright ${PROJECT_BINARY_DIR}/debian/changelog.gz
                ${PROJECT_BINARY_DIR}/debian/changelog.Debian.gz
          DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component} EXCLUDE_FROM_ALL)
endmacro()

kip_package(runtime libkipgauss${PROJECT_VERSION_MAJOR} libs "smoothing of grey-scale images, shared libraries
Gaussian smoothing of grey pictures for machine vision, exact to the bit:
libkipgauss smooths, libkiphost holds images, memory and threads.")
kip_package(development libkipgauss-dev libdevel "smoothing of grey-scale images, development files
Headers for C and C++, and what CMake and pkg-config need to find the
libraries libkipgauss and libkiphost.")
if(KIP_TOOLS)
  kip_package(tools kip-tools graphics "smoothing of grey-scale images, command line
The program kip smooths and reduces grey PNG, TIFF and PGM pictures.")
endif()
if(KIP_PYTHON)
  set(python ${Python3_VERSION_MAJOR}.${Python3_VERSION_MINOR})
  math(EXPR next "${Python3_VERSION_MINOR} + 1")
  kip_package(python python3-kip python "smoothing of grey-scale images, Python module
The module kip smooths and reduces NumPy arrays, kip.dask chunked ones.")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
      "python3 (>= ${python}), python3 (<< ${Python3_VERSION_MAJOR}.${next}), python3-numpy")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-dask, python3-distributed, python3-zarr")
endif()
include(CPack)
