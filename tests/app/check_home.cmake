# Runs TESTS' class tst_viewer_settings and MAIN, the whole program, by hand, as it were: without a settings folder of its
# own, in the home of someone who has settings. Fails where they have changed afterwards, or any file of the program has come to them.

cmake_minimum_required(VERSION 3.21)

set(settings .config/quorvale.org/quorvale.conf)
set(content "[Main]\ndateformat=mdy\nmount_point=/mine\n")
file(REMOVE_RECURSE "${HOME}")
file(WRITE "${HOME}/${settings}" "${content}")

set(ENV{HOME} "${HOME}")
unset(ENV{XDG_CONFIG_HOME})
execute_process(COMMAND "${TESTS}" tst_viewer_settings COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${MAIN}" COMMAND_ERROR_IS_FATAL ANY)

file(READ "${HOME}/${settings}" left)
if(NOT left STREQUAL content)
  message(SEND_ERROR "The settings were changed: ${left}")
endif()
file(GLOB_RECURSE files RELATIVE "${HOME}" "${HOME}/*quorvale*" "${HOME}/.config/quorvale.org/*")
list(REMOVE_ITEM files ${settings})
if(files)
  message(SEND_ERROR "These were written: ${files}")
endif()
