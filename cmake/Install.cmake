# Where an installation puts what, unless -D says otherwise: the settings that the units read, the units,
# and the completions for zsh. A relative directory is below the prefix.
if(NOT DEFINED MORVIK_ENVIRONMENT_DIR)
  set(MORVIK_ENVIRONMENT_DIR ${CMAKE_INSTALL_FULL_SYSCONFDIR}/default)
endif()
if(NOT DEFINED MORVIK_UNIT_DIR)
  set(MORVIK_UNIT_DIR lib/systemd/system)
endif()
if(NOT DEFINED MORVIK_ZSH_COMPLETIONS_DIR)
  set(MORVIK_ZSH_COMPLETIONS_DIR ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
endif()

# The component of everything that does not name one.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME tool)

# Installs a manual page. The pages name the version and places of the installation.
function(morvik_install_page component page)
  string(REGEX REPLACE "^.*\\." "" section ${page})
  configure_file(${page}.in ${page} @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${page}
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${component})
endfunction()
