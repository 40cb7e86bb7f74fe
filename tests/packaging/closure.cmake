# Tests whether CHECK finds what is missing from a bundle. The files of closure/Quorvale.app stand for programs and
# libraries: each holds the output of LLVM's otool for one made for the purpose, shortened to the commands that name
# something. The bundles of the cases are edited copies in FOLDER.

cmake_minimum_required(VERSION 3.21)

set(bundle "${FOLDER}/Quorvale.app")
set(program "${bundle}/Contents/MacOS/Quorvale")
set(libraries "${bundle}/Contents/Frameworks")

macro(begin)
  file(REMOVE_RECURSE "${FOLDER}")
  file(COPY "${CMAKE_CURRENT_LIST_DIR}/closure/Quorvale.app" DESTINATION "${FOLDER}")
endmacro()

function(edit file from to)
  file(READ "${file}" listing)
  string(REPLACE "${from}" "${to}" edited "${listing}")
  if(edited STREQUAL listing)
    message(FATAL_ERROR "${file} has no ${from}")
  endif()
  file(WRITE "${file}" "${edited}")
endfunction()

# expect(<case> [<finding>...]): CHECK finds all of this and nothing else; without a finding it passes.
function(expect case)
  execute_process(
    COMMAND ${CMAKE_COMMAND} "-DBUNDLE=${bundle}" "-DLISTER=${CMAKE_COMMAND};-E;cat" -P "${CHECK}"
    RESULT_VARIABLE result OUTPUT_QUIET ERROR_VARIABLE said)
  string(REGEX MATCHALL "[^\n ]+ names [^\n]+" found "${said}")
  set(passes FALSE)
  if(result EQUAL 0)
    set(passes TRUE)
  endif()
  set(is_closed FALSE)
  if(ARGC EQUAL 1)
    set(is_closed TRUE)
  endif()
  if(NOT passes STREQUAL is_closed OR NOT "${found}" STREQUAL "${ARGN}")
    message(SEND_ERROR "${case}: expected \"${ARGN}\", got ${result} \"${found}\"\n${said}")
  endif()
endfunction()

begin()
expect("a bundle with all that it needs")

file(WRITE "${libraries}/QtCore.framework/Versions/A/Resources/Info.plist" "no library")
edit("${libraries}/libavformat.61.dylib" "name @executable_path/../Frameworks/libavformat" "name /elsewhere/libavformat")
expect("neither a file that is no library nor a library's own name is a need")

begin()
file(REMOVE "${libraries}/libsharpyuv.0.dylib")
expect("a library that only another library needs is missing"
  "Contents/Frameworks/libwebp.7.dylib names @rpath/libsharpyuv.0.dylib")

begin()
file(CREATE_LINK "${CMAKE_COMMAND}" "${libraries}/libsharpyuv.0.dylib.new" SYMBOLIC)
file(RENAME "${libraries}/libsharpyuv.0.dylib.new" "${libraries}/libsharpyuv.0.dylib")
expect("a link leads out of the bundle" "Contents/Frameworks/libwebp.7.dylib names @rpath/libsharpyuv.0.dylib")

begin()
edit("${libraries}/libavformat.61.dylib" "@executable_path/../Frameworks/libwebp.7.dylib" "${CMAKE_COMMAND}")
expect("a library is there, but only on this machine"
  "Contents/Frameworks/libavformat.61.dylib names ${CMAKE_COMMAND}")

begin()
edit("${libraries}/libavformat.61.dylib" "@executable_path/../Frameworks/libwebp" "@loader_path/libwebp")
expect("a library that stands beside the one that needs it")
edit("${libraries}/libavformat.61.dylib" "@loader_path/libwebp" "@loader_path/../libwebp")
expect("a library that stands elsewhere" "Contents/Frameworks/libavformat.61.dylib names @loader_path/../libwebp.7.dylib")

begin()
edit("${libraries}/libwebp.7.dylib" "path @loader_path " "path /opt/elsewhere ")
expect("the program's folders apply to its libraries")
edit("${program}" "path @executable_path/../Frameworks " "path /opt/elsewhere ")
expect("nobody names the folder of some libraries"
  "Contents/Frameworks/libwebp.7.dylib names @rpath/libsharpyuv.0.dylib"
  "Contents/MacOS/Quorvale names @rpath/QtCore.framework/Versions/A/QtCore")

begin()
edit("${program}" "cmd LC_LOAD_DYLIB" "cmd LC_LOAD_WEAK_DYLIB")
edit("${program}" "/usr/lib/libSystem.B.dylib" "/usr/local/lib/libSystem.B.dylib")
expect("a library that is not needed at once" "Contents/MacOS/Quorvale names /usr/local/lib/libSystem.B.dylib")

file(REMOVE_RECURSE "${bundle}/Contents")
execute_process(
  COMMAND ${CMAKE_COMMAND} "-DBUNDLE=${bundle}" "-DLISTER=${CMAKE_COMMAND};-E;cat" -P "${CHECK}"
  RESULT_VARIABLE result OUTPUT_QUIET ERROR_VARIABLE said)
if(result EQUAL 0 OR NOT said MATCHES "is it a bundle")
  message(SEND_ERROR "A folder without anything passes: ${said}")
endif()
