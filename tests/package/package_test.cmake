# Installs the build into a scratch folder, then configures, builds and runs the outside project
# beside this script, which knows kestrel only from there.
#
# Its programs print the same bits whether or not their compiler may fuse multiply-adds.
cmake_minimum_required(VERSION 3.22)

function(run)
  execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

set(cross_options "")
if(toolchain)
  # A cross compiler looks for packages in its own folders only, unless told otherwise.
  list(APPEND cross_options "-DCMAKE_TOOLCHAIN_FILE=${toolchain}"
    "-DCMAKE_FIND_ROOT_PATH=${scratch_dir}/prefix")
endif()

file(REMOVE_RECURSE "${scratch_dir}")
run("${CMAKE_COMMAND}" --install "${build_dir}" --config "${config}" --prefix "${scratch_dir}/prefix")
run("${CMAKE_COMMAND}" -S "${source_dir}" -B "${scratch_dir}/build" -G "${generator}"
  "-DCMAKE_PREFIX_PATH=${scratch_dir}/prefix" "-DCMAKE_BUILD_TYPE=${config}"
  "-DCMAKE_CXX_COMPILER=${compiler}" "-DCMAKE_CXX_FLAGS=${flags}" ${cross_options})
run("${CMAKE_COMMAND}" --build "${scratch_dir}/build" --config "${config}")
run(${emulator} "${scratch_dir}/build/outside${suffix}")

foreach(program IN ITEMS plain_values fused_values)
  execute_process(COMMAND ${emulator} "${scratch_dir}/build/${program}${suffix}"
    OUTPUT_VARIABLE ${program}
    COMMAND_ERROR_IS_FATAL ANY)
endforeach()
if(fused_values MATCHES "^no fused")
  message(STATUS "${fused_values}")
elseif(NOT plain_values STREQUAL fused_values)
  string(REPLACE "\n" ";" plain "${plain_values}")
  string(REPLACE "\n" ";" fused "${fused_values}")
  set(different 0)
  foreach(a b IN ZIP_LISTS plain fused)
    if(NOT a STREQUAL b)
      math(EXPR different "${different} + 1")
    endif()
  endforeach()
  message(FATAL_ERROR "${different} values change with the flags of the calling program")
endif()

# Without CMake: the compiler gets what it needs from the pkg-config module.
find_program(pkg_config pkg-config)
if(pkg_config AND NOT toolchain)
  file(GLOB_RECURSE module "${scratch_dir}/prefix/kestrel.pc")
  get_filename_component(folder "${module}" DIRECTORY)
  execute_process(COMMAND "${CMAKE_COMMAND}" -E env "PKG_CONFIG_PATH=${folder}"
    "${pkg_config}" --cflags --libs kestrel
    OUTPUT_VARIABLE options OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(options UNIX_COMMAND "${flags} ${options}")
  run("${compiler}" -std=c++20 "${source_dir}/main.cpp" ${options} -o "${scratch_dir}/by_module")
  run("${scratch_dir}/by_module")
endif()

# The licence goes with the library, and plug-ins lie where files of one kind of machine belong.
file(GLOB_RECURSE licence "${scratch_dir}/prefix/LICENSE")
if(NOT licence)
  message(FATAL_ERROR "the licence is not installed")
endif()
file(GLOB_RECURSE misplaced "${scratch_dir}/prefix/share/*.mex*")
if(misplaced)
  message(FATAL_ERROR "plug-ins in a folder for every kind of machine: ${misplaced}")
endif()

# Nothing of a MEX host is installed with it.
file(GLOB_RECURSE host_headers "${scratch_dir}/prefix/*/mex*.h" "${scratch_dir}/prefix/*/matrix.h")
if(host_headers)
  message(FATAL_ERROR "installed headers of a MEX host: ${host_headers}")
endif()
