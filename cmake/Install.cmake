# What a machine that runs the library needs: "cmake --install build", or "cpack --config build/CPackConfig.cmake" for a
# Debian package of it. Nothing of the tests or of the simulated access point is installed.
include(GNUInstallDirs)

install(TARGETS netsnmpzolarc LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
# Where net-snmp's clients look for MIB files.
install(FILES ${CMAKE_BINARY_DIR}/share/mibs/ZOLARC-MIB.txt DESTINATION ${CMAKE_INSTALL_DATADIR}/snmp/mibs)
# The modules that it imports, in short, for machines that have them not: "snmpwalk -M +<this folder> -m ZOLARC-MIB".
install(DIRECTORY share/mibs/base/ DESTINATION ${CMAKE_INSTALL_DATADIR}/zolarc/mibs)
install(FILES doc/man/zolarc.conf.5 DESTINATION ${CMAKE_INSTALL_MANDIR}/man5)
install(FILES LICENSE doc/integrators.md doc/fleet.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
# For the machine that watches: the exporter's modules, rules, sample configurations, and the page.
install(DIRECTORY share/prometheus share/fleet DESTINATION ${CMAKE_INSTALL_DATADIR}/zolarc USE_SOURCE_PERMISSIONS)

if(TARGET zolarcd)
  # Relative, so that the agent finds the library below any prefix, and before ldconfig has seen it.
  file(RELATIVE_PATH library_folder ${CMAKE_INSTALL_FULL_SBINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(zolarcd PROPERTIES INSTALL_RPATH "$ORIGIN/${library_folder}")
  install(TARGETS zolarcd RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR})
  install(FILES doc/man/zolarcd.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
  install(FILES packaging/systemd/zolarcd.service DESTINATION lib/systemd/system)
endif()

install(TARGETS wdog RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR})
install(FILES doc/man/wdog.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
install(FILES packaging/systemd/wdog.service DESTINATION lib/systemd/system)
# Objects run these by their full names, which are outside of /usr.
install(CODE "
  set(folder \"\${CMAKE_INSTALL_PREFIX}/etc\")
  if(CMAKE_INSTALL_PREFIX STREQUAL /usr)
    set(folder /etc)
  endif()
  file(INSTALL ${CMAKE_SOURCE_DIR}/packaging/etc/ DESTINATION \"\${folder}\" USE_SOURCE_PERMISSIONS)
")

# The sample loads the library from where it is installed, which is known only then.
install(CODE "
  set(folder \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}\")
  set(sample \"${CMAKE_BINARY_DIR}/sample\${folder}/snmpd.conf.sample\")
  file(READ \"${CMAKE_SOURCE_DIR}/doc/snmpd.conf.sample\" text)
  string(REPLACE /usr/lib/libnetsnmpzolarc \"\${folder}/libnetsnmpzolarc\" text \"\${text}\")
  file(WRITE \"\${sample}\" \"\${text}\")
  file(INSTALL \"\${sample}\" DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DOCDIR}\")
")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zolarc)
set(ZOL_PACKAGE_CONTACT "The ZOLARC developers <zolarc@example.net>" CACHE STRING "Who maintains the Debian package")
set(CPACK_PACKAGE_CONTACT ${ZOL_PACKAGE_CONTACT})
set(CPACK_PACKAGE_DESCRIPTION
    "A library of SNMP objects for an OpenWrt-based access point: radios, wireless
security, LAN and WAN, DHCP, VLANs, QoS, associated stations. With its MIB file
and with zolarcd, an agent that serves the objects by itself or through a
running snmpd, and wdog, which reboots by a schedule or when no host answers.

An ordinary Debian machine is no access point: there the package is for trying
the agent, and for management stations that want the MIB file.")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ
                                                WORLD_EXECUTE)
# Installed below DESTDIR, so that what is written at install time names the places of the package.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/packaging/debian/finish.cmake)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "snmpd, snmp")
set(debian ${CMAKE_SOURCE_DIR}/packaging/debian)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${debian}/postinst ${debian}/prerm ${debian}/postrm ${debian}/triggers
    ${debian}/conffiles)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
