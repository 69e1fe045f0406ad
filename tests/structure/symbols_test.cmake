# The library's archive names nothing of a MEX host: no symbol beginning with mx or mex, neither one
# that it has nor one that it lacks, so that it can stand in a plug-in beside the host's own.
#
#   cmake -D nm=<program> -D archive=<file> -P symbols_test.cmake
cmake_minimum_required(VERSION 3.22)

execute_process(COMMAND "${nm}" --format=posix "${archive}"
  OUTPUT_VARIABLE symbols RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${nm} cannot read ${archive}: ${status}")
endif()
string(REGEX MATCHALL "\n[^ \n]+ [A-Za-z]" entries "${symbols}")
list(LENGTH entries count)
if(count LESS 100)
  message(FATAL_ERROR "${archive} shows only ${count} symbols")
endif()
list(FILTER entries INCLUDE REGEX "^\n_?(mx|mex)")
if(entries)
  list(REMOVE_DUPLICATES entries)
  message(FATAL_ERROR "${archive} names functions of a MEX host:${entries}")
endif()
message(STATUS "${count} symbols, none of a MEX host")
