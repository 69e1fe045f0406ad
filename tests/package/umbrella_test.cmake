# kestrel/kestrel.h must include every public header of the library once.

file(READ "${root}/kestrel/kestrel.h" umbrella)
file(GLOB headers RELATIVE "${root}"
  "${root}/inputs/*.h" "${root}/excitation/*.h" "${root}/transducers/*.h" "${root}/fields/*.h")
# What serves the sources beside it only.
list(REMOVE_ITEM headers inputs/sample_count.h inputs/structure_reader.h)
foreach(header IN LISTS headers)
  string(REGEX MATCHALL "#include \"${header}\"" found "${umbrella}")
  list(LENGTH found count)
  if(NOT count EQUAL 1)
    message(SEND_ERROR "kestrel/kestrel.h includes ${header} ${count} times instead of once")
  endif()
endforeach()
