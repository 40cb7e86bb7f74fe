# The files of a Linux desktop, in the places of the GNU conventions, and the Debian package.

include(GNUInstallDirs)
set(documents "${CMAKE_INSTALL_DATAROOTDIR}/doc/quorvale")

install(TARGETS quorvale RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
install(FILES linux/org.quorvale.quorvale.desktop DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/applications")
install(FILES linux/org.quorvale.quorvale.metainfo.xml DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/metainfo")
install(DIRECTORY icons/hicolor DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/icons")
install(FILES icons/quorvale.svg DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/icons/hicolor/scalable/apps")
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${documents}" RENAME copyright)

# install_compressed(<file> <destination> <name>): for manuals and changes; without a time inside, so that the same sources
# give the same package.
find_program(QUORVALE_GZIP gzip REQUIRED DOC "Compresses the manual page and the changes")
function(install_compressed file destination name)
  set(compressed "${CMAKE_CURRENT_BINARY_DIR}/${name}.gz")
  add_custom_command(OUTPUT "${compressed}"
    COMMAND "${QUORVALE_GZIP}" -9nc "${file}" > "${compressed}"
    DEPENDS "${file}" VERBATIM)
  add_custom_target(compressed_${name} ALL DEPENDS "${compressed}")
  install(FILES "${compressed}" DESTINATION "${destination}")
endfunction()
install_compressed("${CMAKE_CURRENT_SOURCE_DIR}/linux/quorvale.1" "${CMAKE_INSTALL_MANDIR}/man1" quorvale.1)
install_compressed("${PROJECT_SOURCE_DIR}/CHANGELOG.md" "${documents}" NEWS)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON) # what the program is linked to, in the versions it was linked to
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS xdg-utils) # opens the folder where no file manager answers
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Quorvale finds the external disks of a television recorder as they are
plugged in and lists their recordings: title, channel, date, size, how far
they have been watched, the description, and moving pictures of each. It
shows a recording in the file manager and exports its description.
.
It only reads the recorder's disk and never writes to it.")
set(CPACK_PACKAGE_DESCRIPTION "${CPACK_DEBIAN_PACKAGE_DESCRIPTION}")
