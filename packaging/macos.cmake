# The application bundle, made to run on its own, and the disk image that holds it. Written for Qt 5.15 and 6 with
# Homebrew's libraries; not run on a Mac so far.

set(icons "${CMAKE_CURRENT_SOURCE_DIR}/macos/quorvale.icns")
target_sources(quorvale PRIVATE "${icons}")
set_source_files_properties("${icons}" TARGET_DIRECTORY quorvale PROPERTIES MACOSX_PACKAGE_LOCATION Resources)
set_target_properties(quorvale PROPERTIES
  MACOSX_BUNDLE ON
  MACOSX_BUNDLE_INFO_PLIST "${CMAKE_CURRENT_SOURCE_DIR}/macos/Info.plist.in"
  OUTPUT_NAME Quorvale
  # macdeployqt looks for libraries where the installed program does, also for those that others name.
  INSTALL_RPATH "@executable_path/../Frameworks"
  INSTALL_RPATH_USE_LINK_PATH ON)

install(TARGETS quorvale BUNDLE DESTINATION .)

get_target_property(qmake ${QUORVALE_QT_TARGET}::qmake IMPORTED_LOCATION)
get_filename_component(qt_programs "${qmake}" DIRECTORY)
find_program(QUORVALE_MACDEPLOYQT macdeployqt HINTS "${qt_programs}" REQUIRED DOC "Makes a bundle run on its own")
execute_process(COMMAND "${qmake}" -query QT_INSTALL_PLUGINS
  OUTPUT_VARIABLE qt_plugins OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${qmake}" -query QT_INSTALL_LIBS
  OUTPUT_VARIABLE qt_libraries OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
install(CODE "
  set(macdeployqt \"${QUORVALE_MACDEPLOYQT}\")
  set(qt_plugins \"${qt_plugins}\")
  set(library_folders \"${qt_libraries};${QUORVALE_FFMPEG_LIBRARY_DIRS}\")
  set(closure_check \"${CMAKE_CURRENT_SOURCE_DIR}/macos/check_closure.cmake\")")
install(SCRIPT macos/deploy.cmake)

set(CPACK_GENERATOR DragNDrop)
set(CPACK_DMG_VOLUME_NAME Quorvale)
set(CPACK_DMG_SLA_USE_RESOURCE_FILE_LICENSE OFF) # nobody has to agree to this licence before use
set(CPACK_PACKAGE_FILE_NAME "Quorvale-${PROJECT_VERSION}-${CMAKE_SYSTEM_PROCESSOR}")
