# Adds what a .deb needs beyond an installation to the staged files: a changelog in its format; this
# and the man pages are compressed.
set(files ${CPACK_TEMPORARY_INSTALL_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX})
set(changelog ${files}/share/doc/${CPACK_PACKAGE_NAME}/changelog)

string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)  # of SOURCE_DATE_EPOCH, if it is set
file(WRITE ${changelog}
     "${CPACK_PACKAGE_NAME} (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * What has changed stands in CHANGELOG.md beside this file.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
file(GLOB pages ${files}/share/man/man*/*)
execute_process(COMMAND gzip -9 --no-name ${changelog} ${pages} COMMAND_ERROR_IS_FATAL ANY)
