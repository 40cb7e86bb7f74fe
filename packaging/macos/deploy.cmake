# Makes an installed bundle run on its own: with the libraries that it needs, checked and signed for this machine.
# Given: macdeployqt, qt_plugins (Qt's folder of plugins), library_folders, closure_check.

set(bundle "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/Quorvale.app")

# Only the plugins that a window needs: a full Qt has dozens more, some linked to libraries that are not installed.
# Without qt.conf these would not be found.
foreach(plugin IN ITEMS platforms/libqcocoa.dylib styles/libqmacstyle.dylib)
  cmake_path(GET plugin PARENT_PATH folder)
  file(MAKE_DIRECTORY "${bundle}/Contents/PlugIns/${folder}")
  file(COPY_FILE "${qt_plugins}/${plugin}" "${bundle}/Contents/PlugIns/${plugin}")
  # Homebrew's libraries are read-only, and what a copy refers to is changed below.
  file(CHMOD "${bundle}/Contents/PlugIns/${plugin}" PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endforeach()
file(WRITE "${bundle}/Contents/Resources/qt.conf" "[Paths]\nPlugins = PlugIns\n")

# Copies Qt's and all other libraries, and has everything in the bundle refer to the copies.
list(TRANSFORM library_folders PREPEND "-libpath=")
execute_process(COMMAND "${macdeployqt}" "${bundle}" -no-plugins -always-overwrite ${library_folders}
  COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${CMAKE_COMMAND}" "-DBUNDLE=${bundle}" -P "${closure_check}" COMMAND_ERROR_IS_FATAL ANY)

# An ad-hoc signature names nobody, but Apple silicon starts no program without a signature.
execute_process(COMMAND codesign --force --deep --sign - "${bundle}" COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND codesign --verify --deep --strict "${bundle}" COMMAND_ERROR_IS_FATAL ANY)
