# Checks that find anything end the test; what the libraries below the toolkit keep until the end is no finding.
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

# The tests of what crosses threads, which ThreadSanitizer looks at: `--target thread_tests`, `ctest -L threads`.
add_custom_target(thread_tests)

# The tests of the rooms that the toolkit's version can make a difference to: `--target toolkit_tests`, `ctest -L toolkit`.
add_custom_target(toolkit_tests)

# quorvale_add_test(<folder>/<name> [LINK <library>...] [SOURCES <source>...] [LABELS <label>...] [TIMEOUT <seconds>])
# Makes the test executable <name> from tests/<folder>/<name>.cpp, linked to the toolkit's test library and to what
# LINK names, and registers it with CTest. Tests run without a display and with a settings folder of their own:
# nobody's own settings are read or written.
function(quorvale_add_test test)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "TIMEOUT" "LINK;SOURCES;LABELS")
  get_filename_component(folder ${test} DIRECTORY)
  get_filename_component(name ${test} NAME)
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()

  add_executable(${name} "${quorvale_SOURCE_DIR}/tests/${test}.cpp" ${arg_SOURCES})
  set_target_properties(${name} PROPERTIES AUTOMOC ON)
  target_include_directories(${name} PRIVATE "${quorvale_SOURCE_DIR}")
  target_link_libraries(${name} PRIVATE quorvale_flags ${arg_LINK} ${QUORVALE_QT_TARGET}::Test)
  target_compile_definitions(${name} PRIVATE QUORVALE_SAMPLES_DIR="${QUORVALE_SAMPLES_DIR}")

  if(folder MATCHES "^(archive|thumbs|platform|app)$")
    list(APPEND arg_LABELS toolkit)
    add_dependencies(toolkit_tests ${name})
  endif()
  if("threads" IN_LIST arg_LABELS)
    add_dependencies(thread_tests ${name})
  endif()
  add_test(NAME ${test} COMMAND ${name})
  set(settings "${CMAKE_CURRENT_BINARY_DIR}/settings/${name}")
  file(MAKE_DIRECTORY "${settings}")
  set(environment ${QUORVALE_SANITIZER_ENVIRONMENT})
  if(folder MATCHES "^(thumbs|platform|app)$")
    # The toolkit keeps no frame pointers: without a slow walk up the stack, what it leaks cannot be told from ours.
    list(TRANSFORM environment REPLACE "^ASAN_OPTIONS=.*" "\\0:fast_unwind_on_malloc=0")
  endif()
  set_tests_properties(${test} PROPERTIES
    TIMEOUT ${arg_TIMEOUT}
    LABELS "${folder};${arg_LABELS}"
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;XDG_CONFIG_HOME=${settings};LC_ALL=C.UTF-8;${environment}")
endfunction()
