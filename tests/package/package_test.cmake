# Installs the build into a scratch folder, then configures, builds and runs the outside project
# beside this script, which knows kestrel only from there.
cmake_minimum_required(VERSION 3.25)

function(run)
  execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE "${scratch_dir}")
run("${CMAKE_COMMAND}" --install "${build_dir}" --config "${config}" --prefix "${scratch_dir}/prefix")
run("${CMAKE_COMMAND}" -S "${source_dir}" -B "${scratch_dir}/build" -G "${generator}"
  "-DCMAKE_PREFIX_PATH=${scratch_dir}/prefix" "-DCMAKE_BUILD_TYPE=${config}"
  "-DCMAKE_CXX_COMPILER=${compiler}" "-DCMAKE_CXX_FLAGS=${flags}")
run("${CMAKE_COMMAND}" --build "${scratch_dir}/build" --config "${config}")
run("${scratch_dir}/build/outside")
