# kestrel_add_shape(<root> <folder>): takes the steps of CONTRIBUTING.md for the shape of docs/skeleton:
# <folder>/include and <folder>/src get the headers that change, to be searched before those of the
# tree.
function(kestrel_insert text before file overlay)
  file(READ "${file}" content)
  string(REPLACE "${before}" "${text}${before}" changed "${content}")
  if(changed STREQUAL content)
    message(FATAL_ERROR "${file} has no line '${before}'")
  endif()
  set(old "")
  if(EXISTS "${overlay}")
    file(READ "${overlay}" old)
  endif()
  if(NOT old STREQUAL changed)  # else what includes it would be compiled again
    file(WRITE "${overlay}" "${changed}")
  endif()
endfunction()

function(kestrel_add_shape root folder)
  set(geometry include/kestrel/geometry.h)
  set(methods src/methods/element_methods.h)
  file(READ "${root}/docs/skeleton/ellipse.h" structure)
  file(READ "${root}/docs/skeleton/ellipse_methods.h" declarations)
  # In two steps; the first file is not the one that is compiled against.
  kestrel_insert("${structure}" "/// Whether every number of a shape has a name"
    "${root}/${geometry}" "${folder}/geometry.h")
  kestrel_insert(", Ellipse" ">;\n\n/// The facts of an element's shape."
    "${folder}/geometry.h" "${folder}/${geometry}")
  kestrel_insert("${declarations}" "/// Fraunhofer field.\n" "${root}/${methods}" "${folder}/${methods}")
endfunction()
