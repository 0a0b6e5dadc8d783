# Fails unless EXTENSION exports its entry point only and is not linked with libpython, which the interpreter provides.
cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND "${NM}" --dynamic --defined-only --format=posix "${EXTENSION}"
  OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE " [^\n]*\n" ";" names "${symbols}")
list(REMOVE_ITEM names "")
if(NOT names STREQUAL "PyInit_mcp_responses")
  message(FATAL_ERROR "exported: ${names}; only PyInit_mcp_responses should be")
endif()

execute_process(COMMAND "${READELF}" --dynamic "${EXTENSION}" OUTPUT_VARIABLE needs COMMAND_ERROR_IS_FATAL ANY)
if(needs MATCHES "libpython[^]]*")
  message(FATAL_ERROR "linked with ${CMAKE_MATCH_0}")
endif()
