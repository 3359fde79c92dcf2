# Makes of the installed files what Debian's policy asks of a package. No scripts are needed for its
# installation and removal: the triggers of hicolor-icon-theme, desktop-file-utils and man-db refresh
# what the desktop knows.

set(share ${CPACK_TEMPORARY_INSTALL_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX}/share)
set(doc ${share}/doc/parlovance)

file(RENAME ${doc}/LICENSE ${doc}/copyright)
# It leads through the sources.
file(REMOVE ${doc}/README.md)
file(COPY_FILE ${CMAKE_CURRENT_LIST_DIR}/changelog ${doc}/changelog)
# Without name and time, so that the same sources make the same file.
execute_process(COMMAND gzip -9n ${doc}/changelog ${share}/man/man1/parlovance.1
  COMMAND_ERROR_IS_FATAL ANY)

# Whatever the umask of who makes the package.
file(CHMOD_RECURSE ${CPACK_TEMPORARY_INSTALL_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX}
  DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
    WORLD_READ WORLD_EXECUTE)
file(CHMOD ${doc}/changelog.gz PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
