# The application bundle, made to run on its own, and the disk image that holds it. Written for Qt 5.15 and 6 with
# Homebrew's libraries; not run on a Mac so far.

set(icons "${CMAKE_CURRENT_SOURCE_DIR}/macos/quorvale.icns")
target_sources(quorvale PRIVATE "${icons}")
set_source_files_properties("${icons}" TARGET_DIRECTORY quorvale PROPERTIES MACOSX_PACKAGE_LOCATION Resources)
set_target_properties(quorvale PROPERTIES
  MACOSX_BUNDLE ON
  MACOSX_BUNDLE_INFO_PLIST "${CMAKE_CURRENT_SOURCE_DIR}/macos/Info.plist.in"
  OUTPUT_NAME Quorvale)

install(TARGETS quorvale BUNDLE DESTINATION .)

# Copies the toolkit and the other libraries into the bundle and signs all of it for this machine (an ad-hoc signature
# names nobody, but without any the system refuses to start a program on Apple silicon).
get_target_property(qmake ${QUORVALE_QT_TARGET}::qmake IMPORTED_LOCATION)
get_filename_component(qt_programs "${qmake}" DIRECTORY)
find_program(QUORVALE_MACDEPLOYQT macdeployqt HINTS "${qt_programs}" REQUIRED DOC "Makes a bundle run on its own")
install(CODE "
  set(bundle \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/Quorvale.app\")
  execute_process(COMMAND \"${QUORVALE_MACDEPLOYQT}\" \"\${bundle}\" -always-overwrite COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND codesign --force --deep --sign - \"\${bundle}\" COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND codesign --verify --deep --strict \"\${bundle}\" COMMAND_ERROR_IS_FATAL ANY)")

set(CPACK_GENERATOR DragNDrop)
set(CPACK_DMG_VOLUME_NAME Quorvale)
set(CPACK_DMG_SLA_USE_RESOURCE_FILE_LICENSE OFF) # nobody has to agree to this licence before use
set(CPACK_PACKAGE_FILE_NAME "Quorvale-${PROJECT_VERSION}-${CMAKE_SYSTEM_PROCESSOR}")
