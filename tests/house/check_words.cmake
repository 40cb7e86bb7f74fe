# Fails if a source file, a script or a document uses one of these words, alone or in a name: "Qt" is the name of the
# first, and in a stream or a list things come before and after each other.

cmake_minimum_required(VERSION 3.21)

set(words "[Tt]oolkit|[Bb]ehind|[Ii]n ?[Ff]ront ?[Oo]f")

file(GLOB files "${ROOT}/*.md")
foreach(folder app archive bench cmake docs fuzz packaging platform script thumbs tests tools video)
  file(GLOB_RECURSE found LIST_DIRECTORIES false "${ROOT}/${folder}/*")
  list(APPEND files ${found})
endforeach()
list(FILTER files EXCLUDE REGEX "/corpus/|/closure/|/icons/|\\.(png|icns)$|/check_words\\.cmake$")
if(NOT files)
  message(FATAL_ERROR "No file was found: is ${ROOT} the root of the house?")
endif()
foreach(file IN LISTS files)
  file(STRINGS "${file}" lines REGEX "${words}")
  foreach(line IN LISTS lines)
    message(SEND_ERROR "${file}: ${line}")
  endforeach()
endforeach()
