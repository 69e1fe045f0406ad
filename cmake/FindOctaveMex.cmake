# Finds GNU Octave as a host of MEX plug-ins, by asking its own mkoctfile.
#
#   OctaveMex_FOUND        both programs and mex.h are there
#   OctaveMex_VERSION
#   OctaveMex_EXECUTABLE   octave-cli
#   OctaveMex::OctaveMex   brings the include folders and chooses interleaved complex values

find_program(OctaveMex_EXECUTABLE octave-cli)
find_program(OctaveMex_MKOCTFILE mkoctfile)
mark_as_advanced(OctaveMex_EXECUTABLE OctaveMex_MKOCTFILE)

if(OctaveMex_MKOCTFILE)
  # (LFLAGS, which other recipes ask for as well, only earns a warning that it is deprecated.)
  foreach(variable IN ITEMS INCFLAGS OCTAVE_VERSION)
    execute_process(COMMAND "${OctaveMex_MKOCTFILE}" -p ${variable}
      OUTPUT_VARIABLE OctaveMex_${variable} OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  endforeach()
  set(OctaveMex_VERSION "${OctaveMex_OCTAVE_VERSION}")
  separate_arguments(OctaveMex_INCLUDE_DIRS UNIX_COMMAND "${OctaveMex_INCFLAGS}")
  list(TRANSFORM OctaveMex_INCLUDE_DIRS REPLACE "^-I" "")
  find_file(OctaveMex_HEADER mex.h PATHS ${OctaveMex_INCLUDE_DIRS} NO_DEFAULT_PATH)
  mark_as_advanced(OctaveMex_HEADER)
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(OctaveMex
  REQUIRED_VARS OctaveMex_EXECUTABLE OctaveMex_MKOCTFILE OctaveMex_HEADER
  VERSION_VAR OctaveMex_VERSION
  REASON_FAILURE_MESSAGE "The Debian packages are octave and octave-dev.")

if(OctaveMex_FOUND AND NOT TARGET OctaveMex::OctaveMex)
  add_library(OctaveMex::OctaveMex INTERFACE IMPORTED)
  target_include_directories(OctaveMex::OctaveMex INTERFACE ${OctaveMex_INCLUDE_DIRS})
  target_compile_definitions(OctaveMex::OctaveMex INTERFACE MX_HAS_INTERLEAVED_COMPLEX=1)
endif()
