# Fails if anything in a bundle names a library that is neither in the bundle nor the system's own. Such a bundle runs only
# on the machine that made it, although its signature is valid.
#
#   cmake -DBUNDLE=Quorvale.app -P check_closure.cmake
#
# LISTER is the command that shows the load commands of a file, as `otool -l` does.

cmake_minimum_required(VERSION 3.21)
if(NOT LISTER)
  set(LISTER otool -l)
endif()
file(REAL_PATH "${BUNDLE}" bundle)
set(programs "${bundle}/Contents/MacOS")

# read_load_commands(<file> <libraries> <rpaths>): the names of the libraries that <file> is linked to, and the folders in
# which it has them looked for.
function(read_load_commands file libraries rpaths)
  execute_process(COMMAND ${LISTER} "${file}" OUTPUT_VARIABLE listing ERROR_QUIET RESULT_VARIABLE result)
  if(NOT result MATCHES "^[0-9]+$") # It also fails for other files, which have no load commands.
    message(FATAL_ERROR "${LISTER} cannot be run: ${result}")
  endif()
  set(command "cmd (LC_[A-Z_]+)\n *cmdsize [0-9]+\n *(name|path) ([^\n]+) \\(offset [0-9]+\\)\n")
  string(REGEX MATCHALL "${command}" commands "${listing}")
  foreach(found IN LISTS commands)
    string(REGEX MATCH "${command}" found "${found}")
    set(kind ${CMAKE_MATCH_1})
    set(value "${CMAKE_MATCH_3}")
    if(kind STREQUAL "LC_RPATH")
      list(APPEND paths "${value}")
    elseif(kind MATCHES "_DYLIB$" AND NOT kind STREQUAL "LC_ID_DYLIB") # that is its own name
      list(APPEND names "${value}")
    endif()
  endforeach()
  set(${libraries} ${names} PARENT_SCOPE)
  set(${rpaths} ${paths} PARENT_SCOPE)
endfunction()

# in_full(<path> <file> <result>): <path> as <file> means it.
function(in_full path file result)
  get_filename_component(folder "${file}" DIRECTORY)
  string(REGEX REPLACE "^@executable_path" "${programs}" path "${path}")
  string(REGEX REPLACE "^@loader_path" "${folder}" path "${path}")
  set(${result} "${path}" PARENT_SCOPE)
endfunction()

# is_bundled(<path> <result>): whether <path> is a file in the bundle, after links are followed.
function(is_bundled path result)
  set(${result} FALSE PARENT_SCOPE)
  if(EXISTS "${path}" AND NOT IS_DIRECTORY "${path}")
    file(REAL_PATH "${path}" path)
    cmake_path(IS_PREFIX bundle "${path}" inside)
    set(${result} ${inside} PARENT_SCOPE)
  endif()
endfunction()

file(GLOB_RECURSE files LIST_DIRECTORIES FALSE
  "${programs}/*" "${bundle}/Contents/Frameworks/*" "${bundle}/Contents/PlugIns/*")
set(program_rpaths)
set(linked 0)
foreach(file IN LISTS files)
  read_load_commands("${file}" libraries_of_${file} rpaths)
  list(LENGTH libraries_of_${file} count)
  math(EXPR linked "${linked} + ${count}")
  set(rpaths_of_${file})
  foreach(rpath IN LISTS rpaths)
    in_full("${rpath}" "${file}" rpath)
    list(APPEND rpaths_of_${file} "${rpath}")
  endforeach()
  cmake_path(IS_PREFIX programs "${file}" is_program)
  if(is_program)
    list(APPEND program_rpaths ${rpaths_of_${file}})
  endif()
endforeach()
if(linked EQUAL 0)
  message(FATAL_ERROR "Nothing in ${bundle} is linked to anything: is it a bundle?")
endif()

set(missing)
foreach(file IN LISTS files)
  foreach(library IN LISTS libraries_of_${file})
    if(library MATCHES "^(/usr/lib|/System)/") # the system has most of its own in a cache, not as files
      continue()
    endif()
    set(candidates "${library}")
    if(library MATCHES "^@rpath/(.*)")
      # The program's folders apply to what it loads.
      set(candidates ${rpaths_of_${file}} ${program_rpaths})
      list(TRANSFORM candidates APPEND "/${CMAKE_MATCH_1}")
    endif()
    set(bundled FALSE)
    foreach(candidate IN LISTS candidates)
      in_full("${candidate}" "${file}" candidate)
      is_bundled("${candidate}" bundled)
      if(bundled)
        break()
      endif()
    endforeach()
    if(NOT bundled)
      cmake_path(RELATIVE_PATH file BASE_DIRECTORY "${bundle}" OUTPUT_VARIABLE place)
      string(APPEND missing "\n  ${place} names ${library}")
    endif()
  endforeach()
endforeach()
if(missing)
  message(FATAL_ERROR "The bundle would not run elsewhere, for these libraries are not in it:${missing}")
endif()
message(STATUS "Every library that ${bundle} needs is in it or the system's")
