# Packages of the installation, made by scripts/package: the tool and the server, each as .deb and .rpm.
# MORVIK_PACKAGE says for which of the two this tree is configured.

set(CPACK_PACKAGE_NAME morvik)
set(CPACK_PACKAGE_VENDOR "the morvik authors")
set(CPACK_PACKAGE_CONTACT "${MORVIK_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each component has its own
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_GENERATOR ${MORVIK_PACKAGE})
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL tool server)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
# Settings go to /etc although the prefix is /usr.
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(version ${PROJECT_VERSION}-${MORVIK_PACKAGE_RELEASE})

set(tool_summary "publish the field-replaceable units of a server in CIM")
set(tool_description
"morvik asks the CIM server of the machine for its model, fetches the list of
parts for that model by FTP, keeps the entries that fit this machine, and
publishes them as CIM instances. morvik-run does so every night, by HTTPS too,
checks list and outcome, and keeps the last good entries if a night is bad.

This package has the tool, its manual pages, the KVAXDT classes as MOF files,
and sample machines.")
set(server_summary "small CIM server for morvik")
set(server_description
"morvik-cimd is a CIM server for machines that have none. It serves the
machine's own inventory, from its SMBIOS tables, and keeps what clients
publish. It listens on the loopback interface only.")

# --- Debian ---

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${MORVIK_PACKAGE_RELEASE})
set(CPACK_DEBIAN_PACKAGE_SOURCE morvik)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${MORVIK_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME morvik)
set(CPACK_DEBIAN_SERVER_PACKAGE_NAME morvik-cimd)
# tnftp, because the ftp of inetutils takes the option -V for "print the version and end". netbase has
# /etc/services, without which tnftp does not know the port of FTP.
# gpgv checks the signatures of data files. systemd-sysusers makes the users of a package.
set(sysusers "systemd | systemd-standalone-sysusers | systemd-sysusers")
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "tnftp, netbase, gpgv, ${sysusers}")
set(CPACK_DEBIAN_TOOL_PACKAGE_RECOMMENDS "morvik-cimd, ca-certificates")
# The classes come with the tool.
set(CPACK_DEBIAN_SERVER_PACKAGE_DEPENDS "morvik (= ${version}), ${sysusers}")

# The maintainer scripts, and the settings that an upgrade must not overwrite.
foreach(component tool server)
  string(TOUPPER ${component} COMPONENT)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/deb/${component})
  set(CPACK_DEBIAN_${COMPONENT}_DESCRIPTION "${${component}_summary}\n${${component}_description}")
  file(WRITE ${folder}/conffiles
       "${MORVIK_ENVIRONMENT_DIR}/${CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME}\n")
  set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_CONTROL_EXTRA ${folder}/conffiles)
  foreach(script postinst prerm postrm)
    configure_file(packaging/deb/${component}.${script}.sh ${folder}/${script} COPYONLY)
    list(APPEND CPACK_DEBIAN_${COMPONENT}_PACKAGE_CONTROL_EXTRA ${folder}/${script})
  endforeach()
endforeach()

# --- RPM ---

set(CPACK_RPM_COMPONENT_INSTALL ON)
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_RELEASE ${MORVIK_PACKAGE_RELEASE})
set(CPACK_RPM_PACKAGE_LICENSE MIT)
set(CPACK_RPM_PACKAGE_GROUP "System Environment/Daemons")
set(CPACK_RPM_MAIN_COMPONENT tool)
# As old as the sources, too; and no links for debuggers, since there is no package of symbols.
set(CPACK_RPM_SPEC_MORE_DEFINE "%define clamp_mtime_to_source_date_epoch 1
%define use_source_date_epoch_as_buildtime 1
%define _build_id_links none")
set(CPACK_RPM_TOOL_PACKAGE_NAME morvik)
set(CPACK_RPM_SERVER_PACKAGE_NAME morvik-cimd)
set(CPACK_RPM_TOOL_PACKAGE_REQUIRES "ftp, gnupg2, systemd")
set(CPACK_RPM_SERVER_PACKAGE_REQUIRES "morvik = ${version}, systemd")
# Folders that belong to other packages.
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION
    /etc/sysconfig /usr/lib/systemd /usr/lib/systemd/system /usr/lib/sysusers.d
    /usr/sbin /usr/share/doc /usr/share/man /usr/share/man/man1 /usr/share/man/man5
    /usr/share/man/man8 /usr/share/bash-completion /usr/share/bash-completion/completions
    /usr/share/zsh /usr/share/zsh/site-functions /usr/share/fish
    /usr/share/fish/vendor_completions.d)
foreach(component tool server)
  string(TOUPPER ${component} COMPONENT)
  set(scripts ${CMAKE_CURRENT_SOURCE_DIR}/packaging/rpm/${component})
  set(CPACK_RPM_${COMPONENT}_PACKAGE_SUMMARY "${${component}_summary}")
  set(CPACK_RPM_${COMPONENT}_PACKAGE_DESCRIPTION "${${component}_description}")
  set(CPACK_RPM_${COMPONENT}_USER_FILELIST
      "%config(noreplace) ${MORVIK_ENVIRONMENT_DIR}/${CPACK_RPM_${COMPONENT}_PACKAGE_NAME}")
  set(CPACK_RPM_${COMPONENT}_POST_INSTALL_SCRIPT_FILE ${scripts}.post.sh)
  set(CPACK_RPM_${COMPONENT}_PRE_UNINSTALL_SCRIPT_FILE ${scripts}.preun.sh)
  set(CPACK_RPM_${COMPONENT}_POST_UNINSTALL_SCRIPT_FILE ${scripts}.postun.sh)
endforeach()

include(CPack)
cpack_add_component(tool DISPLAY_NAME morvik)
cpack_add_component(server DISPLAY_NAME morvik-cimd DEPENDS tool)
