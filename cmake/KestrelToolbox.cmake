# The target `toolbox`: KESTREL_TOOLBOX_DIR holds a copy of toolbox/ and the compiled plug-ins, which
# are linked right there. Changed files are copied again; those gone from toolbox/ are removed.

file(GLOB_RECURSE toolbox_files CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}/toolbox" toolbox/*)

# The toolbox reads its version from its list of functions.
set(contents "${PROJECT_SOURCE_DIR}/toolbox/+kestrel/Contents.m")
file(STRINGS "${contents}" version_line REGEX "^% Version ")
if(NOT version_line MATCHES "^% Version ${PROJECT_VERSION} ")
  message(FATAL_ERROR "${contents} must say \"% Version ${PROJECT_VERSION} <date>\": \"${version_line}\"")
endif()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${contents}")

# Only what an earlier run put there is ever removed, so any folder may be named.
set(manifest "${PROJECT_BINARY_DIR}/toolbox_files.txt")
if(EXISTS "${manifest}")
  file(STRINGS "${manifest}" earlier_files)
  list(REMOVE_ITEM earlier_files ${toolbox_files})
  foreach(file IN LISTS earlier_files)
    file(REMOVE "${KESTREL_TOOLBOX_DIR}/${file}")
  endforeach()
endif()
list(JOIN toolbox_files "\n" manifest_text)
file(WRITE "${manifest}" "${manifest_text}\n")

set(toolbox_copies "")
foreach(file IN LISTS toolbox_files)
  add_custom_command(OUTPUT "${KESTREL_TOOLBOX_DIR}/${file}"
    COMMAND "${CMAKE_COMMAND}" -E copy "${PROJECT_SOURCE_DIR}/toolbox/${file}"
      "${KESTREL_TOOLBOX_DIR}/${file}"
    DEPENDS "${PROJECT_SOURCE_DIR}/toolbox/${file}"
    COMMENT "toolbox: ${file}"
    VERBATIM)
  list(APPEND toolbox_copies "${KESTREL_TOOLBOX_DIR}/${file}")
endforeach()

add_custom_target(toolbox ALL DEPENDS ${toolbox_copies})
foreach(host IN ITEMS OCTAVE MATLAB)
  get_property(plugins GLOBAL PROPERTY KESTREL_${host}_PLUGINS)
  if(plugins)
    add_dependencies(toolbox ${plugins})
  endif()
endforeach()
