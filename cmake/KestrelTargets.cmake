# How kestrel's targets are made: the compile flags, a library per MEX host, a plug-in per host.

include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)

# MinGW aligns the stack to 16 bytes and yet stores 32-byte vectors there as if aligned, which
# crashes; its assembler can turn such moves into their unaligned form, at no cost on processors that
# have them.
if(MINGW)
  check_cxx_compiler_flag(-Wa,-muse-unaligned-vector-move KESTREL_UNALIGNED_MOVES)
  if(NOT KESTREL_UNALIGNED_MOVES)
    message(FATAL_ERROR "MinGW needs binutils 2.38, whose assembler knows -muse-unaligned-vector-move")
  endif()
endif()

# a*b + c has two legal results, one rounding or two. Left to itself the compiler fuses where the
# instruction set allows; a float so changed by 1e-7 is turned by the wavenumber into 1e-5 of the
# field, and results would depend on machine and compiler. Where one rounding is wanted, the code
# says std::fma or uses the intrinsic. For the same reason fast-math is never used.
set(kestrel_rounding_options $<$<CXX_COMPILER_ID:GNU,Clang,AppleClang>:-ffp-contract=off>)

# Every target of this project is compiled with these flags, tests and benchmarks included.
function(kestrel_compile_options target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    POSITION_INDEPENDENT_CODE ON)
  if(WIN32)
    target_compile_definitions(${target} PRIVATE _USE_MATH_DEFINES)  # M_PI
  endif()
  if(MSVC)
    # /fp:precise is the default and does not contract a*b + c.
    target_compile_options(${target} PRIVATE /W4 $<$<BOOL:${KESTREL_WERROR}>:/WX>)
    return()
  endif()
  target_compile_options(${target} PRIVATE
    ${kestrel_rounding_options}
    # Nobody reads errno or traps after a square root; without this its loops do not vectorise.
    -fno-math-errno
    -fno-trapping-math
    -Wall -Wextra -Wshadow
    # GCC 12 sees an overlap in `"text" + std::string` where there is none.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    $<$<BOOL:${MINGW}>:-Wa,-muse-unaligned-vector-move>
    $<$<BOOL:${KESTREL_WERROR}>:-Werror>)
endfunction()

# Looks for a package as the option asks: AUTO (if it is there), ON (it must be) or OFF.
macro(kestrel_find option package)
  if(${option} STREQUAL "AUTO")
    find_package(${package} QUIET)
  elseif(${option})
    find_package(${package} REQUIRED)
  endif()
  if(${package}_FOUND)
    message(STATUS "${option}: ${package} ${${package}_VERSION}")
  else()
    message(STATUS "${option}: without ${package}")
  endif()
endmacro()

# kestrel_add_host_library(<name> [INCLUDES dir...] [DEFINITIONS def...] [LINK target...])
#
# A static library of everything that touches host values, compiled against the one mex.h that
# INCLUDES or LINK brings. It brings the library `kestrel`, and is built with what links it.
function(kestrel_add_host_library name)
  cmake_parse_arguments(arg "" "" "INCLUDES;DEFINITIONS;LINK" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS
    "${PROJECT_SOURCE_DIR}/mex/host/*.cpp" "${PROJECT_SOURCE_DIR}/mex/readers/*.cpp")
  add_library(${name} STATIC EXCLUDE_FROM_ALL ${sources})
  kestrel_compile_options(${name})
  target_include_directories(${name} PUBLIC "${PROJECT_SOURCE_DIR}" ${arg_INCLUDES})
  target_compile_definitions(${name} PUBLIC ${arg_DEFINITIONS})
  target_link_libraries(${name} PUBLIC kestrel ${arg_LINK})
endfunction()

# kestrel_add_plugin(<name> [FOLDER folder] [SOURCES file...])
#
# One compiled entry, mex/entries/<name>.cpp and SOURCES, for every host; FOLDER is its place in the
# toolbox, a package folder for entries that users call through a function of the package:
#   <name>              the plug-in for Octave, <name>.mex in the toolbox folder
#   <name>_matlab       the plug-in for MATLAB, <name>.mexa64 or the like, beside it
#   <name>_standalone   a static library on our own host, whose mexFunction C++ tests call. Each has a
#                       mexFunction, so a program links one of them; tests have one program per entry.
function(kestrel_add_plugin name)
  cmake_parse_arguments(arg "" "FOLDER" "SOURCES" ${ARGN})
  set(folder "${KESTREL_TOOLBOX_DIR}")
  if(arg_FOLDER)
    string(APPEND folder "/${arg_FOLDER}")
  endif()
  set(sources "${PROJECT_SOURCE_DIR}/mex/entries/${name}.cpp")
  foreach(source IN LISTS arg_SOURCES)
    list(APPEND sources "${PROJECT_SOURCE_DIR}/mex/${source}")
  endforeach()

  set(version "${PROJECT_SOURCE_DIR}/mex/entries/required_version.cpp")

  add_library(${name}_standalone STATIC EXCLUDE_FROM_ALL ${sources} "${version}")
  kestrel_compile_options(${name}_standalone)
  target_link_libraries(${name}_standalone PUBLIC kestrel_standalone)

  if(OctaveMex_FOUND)
    set(exports "${PROJECT_SOURCE_DIR}/mex/host/octave/exports.map")
    # Not every linker knows version scripts; without one a plug-in shows more names than it needs to.
    check_linker_flag(CXX "LINKER:--version-script=${exports}" KESTREL_VERSION_SCRIPT)
    # Octave needs to be told that complex values are interleaved: by a symbol of the plug-in.
    add_library(${name} MODULE ${sources} "${version}"
      "${PROJECT_SOURCE_DIR}/mex/host/octave/interleaved_complex.cpp")
    kestrel_compile_options(${name})
    # Undefined mx and mex names stay open, as mkoctfile leaves them: the interpreter has them.
    target_link_libraries(${name} PRIVATE kestrel_octave)
    if(KESTREL_VERSION_SCRIPT)
      target_link_options(${name} PRIVATE "LINKER:--version-script=${exports}")
    elseif(APPLE)  # written after Apple's manual; nobody has tried it
      target_link_options(${name} PRIVATE "LINKER:-undefined,dynamic_lookup")
    endif()
    set_target_properties(${name} PROPERTIES
      PREFIX "" SUFFIX .mex
      LIBRARY_OUTPUT_DIRECTORY "${folder}"
      LINK_DEPENDS "${exports}")
    set_property(GLOBAL APPEND PROPERTY KESTREL_OCTAVE_PLUGINS ${name})
  endif()

  # Written after CMake's documentation; nobody has run it, for want of a MATLAB. matlab_add_mex adds
  # MATLAB's own mexfilerequiredapiversion, so ours is left out.
  if(Matlab_FOUND)
    matlab_add_mex(NAME ${name}_matlab OUTPUT_NAME ${name} MODULE R2018a
      SRC ${sources} LINK_TO kestrel_matlab)
    kestrel_compile_options(${name}_matlab)
    set_target_properties(${name}_matlab PROPERTIES
      LIBRARY_OUTPUT_DIRECTORY "${folder}")
    set_property(GLOBAL APPEND PROPERTY KESTREL_MATLAB_PLUGINS ${name}_matlab)
  endif()
endfunction()
