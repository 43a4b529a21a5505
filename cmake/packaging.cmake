# Installs the files beside the programs and the client library, and makes the packages: a .deb on
# Linux, a .zip for Windows.
if(WIN32)
  set(bench_folder bench)
  set(docs_folder .)
  install(FILES LICENSE DESTINATION .)
else()
  set(bench_folder ${CMAKE_INSTALL_DATADIR}/${PROJECT_NAME}/bench)
  set(docs_folder ${CMAKE_INSTALL_DOCDIR})
  install(FILES LICENSE DESTINATION ${docs_folder} RENAME copyright)
  install(DIRECTORY docs/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()
install(FILES README.md CHANGELOG.md DESTINATION ${docs_folder})
install(DIRECTORY docs/ DESTINATION ${docs_folder}/docs
        FILES_MATCHING PATTERN "*.md" PATTERN "*.svg" PATTERN "*.png" PATTERN "*.html"
        PATTERN man EXCLUDE)
install(DIRECTORY virtual_instrument/bench/ DESTINATION ${bench_folder}
        FILES_MATCHING PATTERN "*.toml")

set(CPACK_PACKAGE_VENDOR "KVR Console Tester maintainers")
set(CPACK_PACKAGE_CONTACT "${CPACK_PACKAGE_VENDOR} <maintainers@kvr-console-tester.invalid>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})  # all four parts
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-windows-x86_64)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION science)
  set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
      "Asks for a transformer's windings and test voltages, has the instrument
measure, shows the results as text and leaves them in files for a spreadsheet.
With the tester workbench for three-phase tests, stored records and terminal
labels, and a virtual instrument to try both without hardware.")
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
  set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/debian_files.cmake)
endif()
# The package for Python has no architecture, so it is none of CPack's.
add_custom_target(python-package VERBATIM
                  COMMAND ${PROJECT_SOURCE_DIR}/python/make-package
                          ${PROJECT_SOURCE_DIR}/build/packages)
include(CPack)
