# kestrel/kestrel.h brings every public header, and there are few of them.
cmake_minimum_required(VERSION 3.22)

set(most 20)

file(GLOB headers RELATIVE "${root}/include" "${root}/include/kestrel/*.h")
list(LENGTH headers count)
if(count GREATER most)
  message(FATAL_ERROR "${count} public headers, more than ${most}: ${headers}")
endif()

file(STRINGS "${root}/include/kestrel/kestrel.h" lines REGEX "^#include \"")
list(REMOVE_ITEM headers kestrel/kestrel.h)
foreach(line IN LISTS lines)
  string(REGEX REPLACE "^#include \"(.*)\".*" "\\1" included "${line}")
  list(REMOVE_ITEM headers "${included}")
endforeach()
if(headers)
  message(FATAL_ERROR "kestrel/kestrel.h does not include: ${headers}")
endif()
