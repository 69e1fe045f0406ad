# kestrel/kestrel.h must lead to every public header of the library.
cmake_minimum_required(VERSION 3.22)

# What only the sources beside it need.
set(internal inputs/sample_count.h
  numerics/fft.h numerics/four_wide_kernels.h numerics/run_kernel.h numerics/wide_math.h
  numerics/interruption.h numerics/compiler.h
  fields/array_tile.h fields/direct_field.h fields/edge_convergence.h fields/error_estimate.h
  fields/error_sample.h fields/kzk_array.h
  fields/node_rule.h fields/points.h fields/pointwise_field.h fields/reuse_plan.h
  fields/reused_field.h)

file(GLOB missed RELATIVE "${root}/src"
  "${root}/src/inputs/*.h" "${root}/src/excitation/*.h" "${root}/src/elements/*.h"
  "${root}/src/fields/*.h" "${root}/src/numerics/*.h")
list(REMOVE_ITEM missed ${internal})

set(ahead ../include/kestrel/kestrel.h)
while(ahead)
  list(POP_FRONT ahead header)
  list(REMOVE_ITEM missed ${header})
  if(NOT EXISTS "${root}/src/${header}")
    continue()  # a header of the host
  endif()
  file(STRINGS "${root}/src/${header}" lines REGEX "^#include \"")
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
