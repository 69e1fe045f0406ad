# Builds a plug-in against the package that package_test.cmake installed, loads and runs it in Octave.
cmake_minimum_required(VERSION 3.22)

function(run)
  execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE "${scratch_dir}")
run("${CMAKE_COMMAND}" -S "${source_dir}" -B "${scratch_dir}" -G "${generator}"
  "-DCMAKE_PREFIX_PATH=${prefix}" "-DCMAKE_MODULE_PATH=${modules}" "-DCMAKE_BUILD_TYPE=${config}"
  "-DCMAKE_CXX_COMPILER=${compiler}" "-DCMAKE_CXX_FLAGS=${flags}")
run("${CMAKE_COMMAND}" --build "${scratch_dir}" --config "${config}")
run("${octave}" --norc --no-history --quiet --path "${scratch_dir}"
  --eval "assert (count_points (0.0205), 21), assert (count_points (-1), NaN)")
