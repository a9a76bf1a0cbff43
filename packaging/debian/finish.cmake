# What Debian wants of a package beyond the installed files. CPack runs it before it packs.
set(root ${CPACK_TEMPORARY_DIRECTORY}${CPACK_INSTALL_PREFIX})
set(documents ${root}/share/doc/${CPACK_PACKAGE_NAME})

configure_file(${CMAKE_CURRENT_LIST_DIR}/changelog.in ${documents}/changelog @ONLY)
file(READ ${documents}/changelog changelog)
if(NOT changelog MATCHES "^${CPACK_PACKAGE_NAME} \\(${CPACK_PACKAGE_VERSION}\\)")
  message(FATAL_ERROR "packaging/debian/changelog.in has no entry for version ${CPACK_PACKAGE_VERSION}")
endif()
file(RENAME ${documents}/LICENSE ${documents}/copyright)

file(GLOB pages ${root}/share/man/man*/*.[0-9])
execute_process(COMMAND gzip -9nf ${documents}/changelog ${pages} COMMAND_ERROR_IS_FATAL ANY)
