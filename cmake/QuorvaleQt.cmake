# Finds Qt. QUORVALE_QT is the major version to build with, 5 or 6.

if(NOT QUORVALE_QT)
  # A project that includes this one and has chosen its Qt keeps it.
  if(TARGET Qt6::Core AND NOT TARGET Qt5::Core)
    set(quorvale_default_qt 6)
  else()
    find_package(Qt5 5.15 QUIET COMPONENTS Core)
    set(quorvale_default_qt 6)
    if(Qt5_FOUND)
      set(quorvale_default_qt 5)
    endif()
  endif()
endif()
set(QUORVALE_QT "${quorvale_default_qt}" CACHE STRING "Major version of Qt to build with: 5 or 6")
if(NOT QUORVALE_QT MATCHES "^[56]$")
  message(FATAL_ERROR "QUORVALE_QT is \"${QUORVALE_QT}\"; it has to be 5 or 6")
endif()
set_property(CACHE QUORVALE_QT PROPERTY STRINGS 5 6)

set(quorvale_qt_components Core Gui Widgets)
if(QUORVALE_BUILD_TESTS)
  list(APPEND quorvale_qt_components Test)
endif()
if(UNIX AND NOT APPLE)
  list(APPEND quorvale_qt_components DBus)
endif()

# The libraries' usage requirements name Qt's targets, so a project that includes this one must see them.
set(CMAKE_FIND_PACKAGE_TARGETS_GLOBAL TRUE)
if(QUORVALE_QT EQUAL 5)
  find_package(Qt5 5.15 REQUIRED COMPONENTS ${quorvale_qt_components})
else()
  find_package(Qt6 6.4 REQUIRED COMPONENTS ${quorvale_qt_components})
endif()
unset(CMAKE_FIND_PACKAGE_TARGETS_GLOBAL)
set(QUORVALE_QT_TARGET "Qt${QUORVALE_QT}") # QUORVALE_QT_TARGET::Core and so on
