# Most of compiling a test is reading Qt's headers, so these are precompiled for many tests. Not with a compiler cache,
# which is better and cannot use precompiled headers: then every test reads its own, which also shows if one forgot to
# include what it uses. Not for the rooms, nor for the few tests under ThreadSanitizer.

set(quorvale_precompiles OFF)
if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_CXX_COMPILER_LAUNCHER AND NOT QUORVALE_SANITIZE MATCHES thread)
  set(quorvale_precompiles ON)
  file(WRITE "${CMAKE_CURRENT_BINARY_DIR}/headers.cpp" "")
endif()

# quorvale_precompile(<name> COMPONENT <component> [OPTIONS <option>...] HEADERS <header>...)
# Headers for targets that use this component of Qt: a header may test whether a macro is defined, and must get the same
# answer in each target. Those of QtCore and QtWidgets ask for no other component. QtTest is never among them: it asks for
# its test's folder, and for QtGui.
function(quorvale_precompile name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "COMPONENT" "OPTIONS;HEADERS")
  if(NOT quorvale_precompiles)
    return()
  endif()
  add_library(quorvale_${name}_headers OBJECT "${quorvale_BINARY_DIR}/headers.cpp")
  target_link_libraries(quorvale_${name}_headers PRIVATE quorvale_flags ${QUORVALE_QT_TARGET}::${arg_COMPONENT})
  target_compile_options(quorvale_${name}_headers PRIVATE ${arg_OPTIONS})
  target_precompile_headers(quorvale_${name}_headers PRIVATE ${arg_HEADERS})
endfunction()

# quorvale_use_precompiled(<target> <name>): has the target's sources begin with these headers, where there are any.
function(quorvale_use_precompiled target name)
  if(TARGET quorvale_${name}_headers)
    target_precompile_headers(${target} REUSE_FROM quorvale_${name}_headers)
  endif()
endfunction()

set(quorvale_common_headers <QtCore> <algorithm> <functional> <memory> <string> <vector>)
