# kestrel/kestrel.h must lead to every public header of the library.
cmake_minimum_required(VERSION 3.25)

# What only the sources beside it need.
set(internal inputs/sample_count.h inputs/structure_reader.h
  fields/direct_field.h fields/element_worker.h fields/error_estimate.h fields/march.h
  fields/node_rule.h
  fields/points.h fields/reuse_plan.h fields/reused_field.h fields/sampled_field.h)

file(GLOB missed RELATIVE "${root}"
  "${root}/inputs/*.h" "${root}/excitation/*.h" "${root}/transducers/*.h" "${root}/fields/*.h")
list(REMOVE_ITEM missed ${internal})

set(ahead kestrel/kestrel.h)
while(ahead)
  list(POP_FRONT ahead header)
  list(REMOVE_ITEM missed ${header})
  file(STRINGS "${root}/${header}" lines REGEX "^#include \"")
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "^#include \"(.*)\".*" "\\1" included "${line}")
    if(included IN_LIST missed)
      list(APPEND ahead ${included})
    endif()
  endforeach()
endwhile()

if(missed)
  message(FATAL_ERROR "kestrel/kestrel.h does not lead to: ${missed}")
endif()
