# The plug-in shows the names that the interpreter looks for and no other.
cmake_minimum_required(VERSION 3.22)

execute_process(COMMAND "${nm}" --dynamic --defined-only --format=posix "${plugin}"
  OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE " [^\n]*\n" ";" names "${symbols}")
list(REMOVE_ITEM names "")
list(SORT names)
set(wanted __mx_has_interleaved_complex__ mexFunction mexfilerequiredapiversion)
if(NOT names STREQUAL wanted)
  message(FATAL_ERROR "${plugin} exports: ${names}\nwanted: ${wanted}")
endif()
