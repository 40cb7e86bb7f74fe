# Fails if a source file or a script uses one of these words: "Qt" is the name of the first, and in a stream or a list
# things come before and after each other.

cmake_minimum_required(VERSION 3.21)

set(words "[Tt]oolkit|[Bb]ehind|[Ii]n front of")

set(seen 0)
foreach(folder app archive bench cmake fuzz packaging platform script thumbs tests tools video)
  file(GLOB_RECURSE files LIST_DIRECTORIES false "${ROOT}/${folder}/*")
  list(FILTER files EXCLUDE REGEX "/corpus/|/closure/|/icons/|\\.(png|icns)$|/check_words\\.cmake$")
  foreach(file IN LISTS files)
    math(EXPR seen "${seen} + 1")
    file(STRINGS "${file}" lines REGEX "(^|[^A-Za-z])(${words})($|[^A-Za-z])")
    foreach(line IN LISTS lines)
      message(SEND_ERROR "${file}: ${line}")
    endforeach()
  endforeach()
endforeach()
if(seen EQUAL 0)
  message(FATAL_ERROR "No file was found: is ${ROOT} the root of the house?")
endif()
