# A sanitizer that finds something ends the test. What libraries below Qt keep until the end is no finding.
set(QUORVALE_SANITIZER_ENVIRONMENT)
if(QUORVALE_SANITIZE MATCHES address)
  list(APPEND QUORVALE_SANITIZER_ENVIRONMENT
    "ASAN_OPTIONS=detect_stack_use_after_return=1"
    "LSAN_OPTIONS=suppressions=${quorvale_SOURCE_DIR}/tests/sanitizers/lsan.supp:print_suppressions=0"
    "UBSAN_OPTIONS=print_stacktrace=1")
elseif(QUORVALE_SANITIZE MATCHES thread)
  list(APPEND QUORVALE_SANITIZER_ENVIRONMENT
    "TSAN_OPTIONS=suppressions=${quorvale_SOURCE_DIR}/tests/sanitizers/tsan.supp:ignore_noninstrumented_modules=1")
endif()

# script/test runs every test once at least, and not every test twice. Each group is a target to build:
#   thread_tests     what crosses threads, for ThreadSanitizer: label threads
#   <room>_tests     those of one room
#   plain_tests      for a build without sanitizers: all but label sanitized_only (what reads untrusted bytes and uses no Qt)
#   sanitized_tests  for AddressSanitizer: all but label plain_only (the tools, the packages, the house, and the longest)
add_custom_target(thread_tests)
add_custom_target(plain_tests)
add_custom_target(sanitized_tests)

# Streams that tests make are kept for all presets; script/test removes those that are no longer used.
set(quorvale_kept_streams "${quorvale_BINARY_DIR}/kept-streams")
if(quorvale_BINARY_DIR MATCHES "^${quorvale_SOURCE_DIR}/build/")
  set(quorvale_kept_streams "${quorvale_SOURCE_DIR}/build/kept-streams")
endif()

# quorvale_group_test(<test> FOLDER <folder> [TARGETS <target>...] [LABELS <label>...])
# Labels a test by its room and its group, and has the group's targets build what it needs.
function(quorvale_group_test test)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "FOLDER" "TARGETS;LABELS")
  if(arg_FOLDER MATCHES "^(tools|packaging|house)$")
    list(APPEND arg_LABELS plain_only)
  elseif(arg_FOLDER MATCHES "^(video|fuzz|support)$" AND NOT "plain_only" IN_LIST arg_LABELS)
    list(APPEND arg_LABELS sanitized_only)
  endif()
  set(groups plain_tests sanitized_tests thread_tests)
  if("plain_only" IN_LIST arg_LABELS)
    list(REMOVE_ITEM groups sanitized_tests)
  elseif("sanitized_only" IN_LIST arg_LABELS)
    list(REMOVE_ITEM groups plain_tests)
  endif()
  if(NOT "threads" IN_LIST arg_LABELS)
    list(REMOVE_ITEM groups thread_tests)
  endif()
  if(NOT TARGET ${arg_FOLDER}_tests)
    add_custom_target(${arg_FOLDER}_tests)
  endif()
  foreach(group IN LISTS groups ITEMS ${arg_FOLDER}_tests)
    foreach(target IN LISTS arg_TARGETS)
      add_dependencies(${group} ${target})
    endforeach()
  endforeach()
  set_tests_properties(${test} PROPERTIES LABELS "${arg_FOLDER};${arg_LABELS}")
endfunction()

set(quorvale_test_options -O0) # Compiling a test takes longer than running it.
add_library(quorvale_test_flags INTERFACE)
# QtTest's macros pass no arguments where some are declared, which clang 18 and later take for C++20.
target_compile_options(quorvale_test_flags INTERFACE $<$<CXX_COMPILER_ID:Clang,AppleClang>:-Wno-c++20-extensions>)
if(QUORVALE_QT EQUAL 6)
  # Qt 6.8's QTRY_ macros narrow a time-out, and GCC blames the test. With Qt 5 and with clang the warning stays on.
  target_compile_options(quorvale_test_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-conversion>)
endif()
set(quorvale_test_definitions QUORVALE_SAMPLES_DIR="${QUORVALE_SAMPLES_DIR}")
if(QUORVALE_SANITIZE)
  list(APPEND quorvale_test_definitions QUORVALE_SANITIZED) # it takes more memory and time
endif()
quorvale_precompile(core_test COMPONENT Core OPTIONS ${quorvale_test_options} HEADERS ${quorvale_common_headers})
quorvale_precompile(widget_test COMPONENT Widgets OPTIONS ${quorvale_test_options}
  HEADERS ${quorvale_common_headers} <QtWidgets>)

# quorvale_add_test_executable(<name> [<library>...]): an executable without sources yet.
function(quorvale_add_test_executable name)
  add_executable(${name})
  target_include_directories(${name} PRIVATE "${quorvale_SOURCE_DIR}" "${CMAKE_CURRENT_BINARY_DIR}")
  target_compile_options(${name} PRIVATE ${quorvale_test_options})
  target_link_libraries(${name} PRIVATE quorvale_flags quorvale_test_flags ${ARGN} ${QUORVALE_QT_TARGET}::Test)
  target_compile_definitions(${name} PRIVATE ${quorvale_test_definitions})
  if(ARGN MATCHES "quorvale_(app|thumbs)")
    quorvale_use_precompiled(${name} widget_test)
  else()
    quorvale_use_precompiled(${name} core_test)
  endif()
endfunction()

# quorvale_add_test_library(<name> <source>...): what tests share.
function(quorvale_add_test_library name)
  add_library(${name} STATIC ${ARGN})
  target_include_directories(${name} PUBLIC "${quorvale_SOURCE_DIR}")
  target_compile_features(${name} PUBLIC cxx_std_17)
  target_compile_definitions(${name} PRIVATE ${quorvale_test_definitions})
  target_link_libraries(${name} PRIVATE quorvale_flags)
  quorvale_compile_together(${name} 0)
endfunction()

# quorvale_add_test(<folder>/<name> [LINK <library>...] [SOURCES <source>...] [LABELS <label>...] [TIMEOUT <seconds>])
# Registers the test class in tests/<folder>/<name>.cpp with CTest, linked to Qt's test library and to what LINK names.
# Tests run without a display, and keep their settings in a folder of their own.
# One that may take longer than two minutes has the label long.
#
# If the file ends with TEST_CLASS (tests/support/testclass.h), the class shares the executable tst_<folder>[_<label>...]
# with those of the same folder and labels: its first argument is <name>, and the target <name> builds it, too. If the file
# has a main() or QTEST_MAIN, it is the executable <name>: for tests that replace functions, that ThreadSanitizer checks, or
# that run before there is an application object.
function(quorvale_add_test test)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "TIMEOUT" "LINK;SOURCES;LABELS")
  get_filename_component(folder ${test} DIRECTORY)
  get_filename_component(name ${test} NAME)
  set(length)
  set(cost)
  if(arg_TIMEOUT)
    set(length long) # script/test --quick leaves it out
    set(cost COST ${arg_TIMEOUT}) # These start first, so that none runs alone at the end.
  else()
    set(arg_TIMEOUT 120)
  endif()

  file(STRINGS "${quorvale_SOURCE_DIR}/tests/${test}.cpp" shares REGEX "^TEST_CLASS\\(")
  if(shares)
    string(REPLACE ";" "_" executable "tst_${folder};${arg_LABELS}")
    string(REGEX REPLACE "_$" "" executable "${executable}")
    if(NOT TARGET ${executable})
      quorvale_add_test_executable(${executable} quorvale_testclass ${arg_LINK})
      quorvale_compile_together(${executable} 8)
    endif()
    add_custom_target(${name} DEPENDS ${executable})
    add_test(NAME ${test} COMMAND ${executable} ${name})
  else()
    set(executable ${name})
    quorvale_add_test_executable(${executable} ${arg_LINK})
    add_test(NAME ${test} COMMAND ${executable})
  endif()
  target_sources(${executable} PRIVATE "${quorvale_SOURCE_DIR}/tests/${test}.cpp" ${arg_SOURCES})
  target_link_libraries(${executable} PRIVATE ${arg_LINK})
  if(arg_SOURCES AND NOT shares)
    set_target_properties(${executable} PROPERTIES AUTOMOC ON)
  else()
    # AUTOMOC would look for more classes, and compile an empty file where there are none. Without the target, moc knows
    # no folder of headers and reads none: what it has to know of a test stands in the test itself.
    cmake_language(CALL qt${QUORVALE_QT}_generate_moc
      "${quorvale_SOURCE_DIR}/tests/${test}.cpp" "${CMAKE_CURRENT_BINARY_DIR}/${name}.moc")
    target_sources(${executable} PRIVATE "${CMAKE_CURRENT_BINARY_DIR}/${name}.moc")
  endif()

  quorvale_group_test(${test} FOLDER ${folder} TARGETS ${executable} LABELS ${arg_LABELS} ${length})
  set(settings "${CMAKE_CURRENT_BINARY_DIR}/settings/${name}")
  file(MAKE_DIRECTORY "${settings}")
  set(environment "QTEST_FUNCTION_TIMEOUT=${arg_TIMEOUT}000" ${QUORVALE_SANITIZER_ENVIRONMENT}) # Qt's own is five minutes
  if(NOT folder STREQUAL tools) # whose tests look at how streams are made
    list(APPEND environment "QUORVALE_KEPT_STREAMS=${quorvale_kept_streams}")
  endif()
  set_tests_properties(${test} PROPERTIES
    TIMEOUT ${arg_TIMEOUT}
    ${cost}
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;XDG_CONFIG_HOME=${settings};LC_ALL=C.UTF-8;${environment}")
endfunction()
