# Fails if LIBRARY, a room, defines a name outside of namespace quorvale that is not in NAMES, the names that other code
# relies on. NM lists a library's names.

cmake_minimum_required(VERSION 3.21)

execute_process(COMMAND "${NM}" --demangle --extern-only --defined-only "${LIBRARY}"
  OUTPUT_VARIABLE listing COMMAND_ERROR_IS_FATAL ANY)
# Strong definitions only: those from other libraries' templates and inline functions are weak.
string(REGEX MATCHALL "[0-9a-f]+ [TDBRS] [^\n]+" symbols "${listing}")
if(NOT symbols)
  message(FATAL_ERROR "${LIBRARY} defines nothing: is it a library?")
endif()
list(JOIN NAMES "|" names)
set(missing "${NAMES}")
foreach(symbol IN LISTS symbols)
  string(REGEX REPLACE "^[0-9a-f]+ . (non-virtual thunk to |vtable for |typeinfo for |typeinfo name for )?" "" symbol
    "${symbol}")
  if(symbol MATCHES "^(${names})(::|[(]|\\[|$)")
    list(REMOVE_ITEM missing "${CMAKE_MATCH_1}")
  elseif(NOT symbol MATCHES "^quorvale::|^q(Init|Cleanup)Resources_") # the latter are Qt's
    message(SEND_ERROR "${LIBRARY}: not in namespace quorvale: ${symbol}")
  endif()
endforeach()
if(missing)
  message(SEND_ERROR "${LIBRARY} does not define ${missing}")
endif()
