# How every target is compiled. All settings belong to targets: a project that includes this one keeps its own.

if(PROJECT_IS_TOP_LEVEL)
  if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Type of build" FORCE)
  endif()
  set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
  find_program(QUORVALE_CCACHE ccache DOC "Compiler cache, used where present")
  if(QUORVALE_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_C_COMPILER_LAUNCHER "${QUORVALE_CCACHE}")
    set(CMAKE_CXX_COMPILER_LAUNCHER "${QUORVALE_CCACHE}")
    set(CMAKE_OBJCXX_COMPILER_LAUNCHER "${QUORVALE_CCACHE}")
  endif()
endif()

add_library(quorvale_flags INTERFACE)
target_compile_features(quorvale_flags INTERFACE cxx_std_17)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  target_compile_definitions(quorvale_flags INTERFACE _FILE_OFFSET_BITS=64) # Recordings are larger than 2 GiB.
endif()
target_compile_options(quorvale_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Wnon-virtual-dtor -Woverloaded-virtual
  $<$<CXX_COMPILER_ID:Clang,AppleClang>:-Wno-gnu-zero-variadic-macro-arguments> # QtTest's macros
  $<$<BOOL:${QUORVALE_WERROR}>:-Werror>)
if(QUORVALE_BUILD_TESTS)
  # A hundred tests are linked, each with the sanitizers' libraries: the usual linker takes a second for each.
  include(CheckLinkerFlag)
  check_linker_flag(CXX -fuse-ld=lld QUORVALE_LINKS_WITH_LLD)
  target_link_options(quorvale_flags INTERFACE $<$<BOOL:${QUORVALE_LINKS_WITH_LLD}>:-fuse-ld=lld>)
endif()
# Sanitizers check the rooms; ThreadSanitizer must see every thread, also those of the tests.
set(quorvale_instrumentation)
if(QUORVALE_SANITIZE)
  set(quorvale_instrumentation
    -fsanitize=${QUORVALE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(quorvale_flags INTERFACE -fsanitize=${QUORVALE_SANITIZE})
  if(QUORVALE_SANITIZE MATCHES thread)
    target_compile_options(quorvale_flags INTERFACE ${quorvale_instrumentation})
  endif()
endif()

# quorvale_compile_together(<target> <files>): most of compiling a file is reading headers. Read once for so many files of
# the target (0: for all) they take a third of the time.
function(quorvale_compile_together target files)
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE ${files})
  # To GCC they look like headers, whose classes need no members of a type that only they know.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
endfunction()

# quorvale_add_room(<room> <source>...)
# Makes the static library quorvale_<room> with the root of the house as its public include directory,
# so that every include is written from the root: #include "archive/programme.h".
function(quorvale_add_room room)
  add_library(quorvale_${room} STATIC ${ARGN})
  target_include_directories(quorvale_${room} PUBLIC "${quorvale_SOURCE_DIR}")
  target_compile_features(quorvale_${room} PUBLIC cxx_std_17)
  target_link_libraries(quorvale_${room} PRIVATE quorvale_flags)
  if(QUORVALE_SANITIZE)
    target_compile_options(quorvale_${room} PRIVATE ${quorvale_instrumentation})
    quorvale_compile_together(quorvale_${room} 0) # All other builds show that each file compiles by itself.
  endif()
endfunction()
