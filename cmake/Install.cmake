# Where an installation puts what, and what is different in a package.
set(MORVIK_PACKAGE "" CACHE STRING
    "Kind of package that the installation is for: DEB, RPM, or empty for none")
set_property(CACHE MORVIK_PACKAGE PROPERTY STRINGS "" DEB RPM)
if(NOT MORVIK_PACKAGE MATCHES "^(DEB|RPM)?$")
  message(FATAL_ERROR "MORVIK_PACKAGE must be DEB, RPM or empty")
endif()
set(MORVIK_PACKAGE_RELEASE 1 CACHE STRING "Number of the package among those of the same version")
set(MORVIK_MAINTAINER "the morvik authors <authors@morvik.example>" CACHE STRING
    "Who makes the packages: name and address")

# Of what is installed without a word about it.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME tool)

set(MORVIK_ENVIRONMENT_DIR ${CMAKE_INSTALL_FULL_SYSCONFDIR}/default)
if(MORVIK_PACKAGE STREQUAL "RPM")
  set(MORVIK_ENVIRONMENT_DIR ${CMAKE_INSTALL_FULL_SYSCONFDIR}/sysconfig)
endif()

# Makes FILE.gz, without a name or time in it.
function(morvik_compress file)
  execute_process(COMMAND gzip -9 -n -c ${file} OUTPUT_FILE ${file}.gz COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# Installs a manual page, compressed in a package. The pages name the version and places of the
# installation.
function(morvik_install_page component page)
  string(REGEX REPLACE "^.*\\." "" section ${page})
  configure_file(${page}.in ${page} @ONLY)
  set(file ${CMAKE_CURRENT_BINARY_DIR}/${page})
  if(MORVIK_PACKAGE)
    morvik_compress(${file})
    string(APPEND file .gz)
  endif()
  install(FILES ${file} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${component})
endfunction()
