# A shape that leaves out any one of the facts that the concept ElementShape demands does not compile,
# and the compiler names the concept: the shape of docs/skeleton with one fact after the other taken
# away.
#
#   cmake -D root=<source folder> -D scratch_dir=<folder> -D compiler=<g++ or clang++> -D "flags=<...>"
#         -P forgotten_fact_test.cmake
cmake_minimum_required(VERSION 3.22)
include("${CMAKE_CURRENT_LIST_DIR}/add_shape.cmake")

kestrel_add_shape("${root}" "${scratch_dir}")
set(header "${scratch_dir}/include/kestrel/geometry.h")
set(source "${scratch_dir}/shape.cpp")
file(WRITE "${source}" "#include \"kestrel/geometry.h\"\n")
separate_arguments(flags UNIX_COMMAND "${flags}")

function(compile status output)
  execute_process(
    COMMAND "${compiler}" ${flags} -std=c++20 -fsyntax-only -I "${scratch_dir}/include" "${source}"
    RESULT_VARIABLE result OUTPUT_VARIABLE text ERROR_VARIABLE text)
  set(${status} "${result}" PARENT_SCOPE)
  set(${output} "${text}" PARENT_SCOPE)
endfunction()

compile(status output)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "With all of its facts the shape must compile:\n${output}")
endif()

# What the concept asks for.
file(READ "${header}" text)
string(FIND "${text}" "concept ElementShape" begin)
string(SUBSTRING "${text}" ${begin} -1 concept)
string(FIND "${concept}" "\n};" end)
string(SUBSTRING "${concept}" 0 ${end} concept)
string(REGEX MATCHALL "G::[a-zA-Z_]+|g\\.[a-z_]+" facts "${concept}")
list(TRANSFORM facts REPLACE "^(G::|g\\.)" "")
list(REMOVE_DUPLICATES facts)
list(LENGTH facts count)
if(count LESS 9)
  message(FATAL_ERROR "The concept ElementShape shows only the facts ${facts}")
endif()

file(READ "${root}/docs/skeleton/ellipse.h" structure)
function(must_not_compile what changed names)
  if(changed STREQUAL structure)
    message(FATAL_ERROR "${what}: docs/skeleton/ellipse.h does not have it")
  endif()
  string(REPLACE "${structure}" "${changed}" without "${text}")
  file(WRITE "${header}" "${without}")
  compile(status output)
  if(status EQUAL 0 OR NOT output MATCHES "error" OR NOT output MATCHES "${names}")
    message(SEND_ERROR "${what} was left out. Wanted an error that names ${names}, got (${status})\n${output}")
  endif()
  message(STATUS "refused without ${what}")
endfunction()

foreach(fact IN LISTS facts)
  string(REGEX REPLACE "([ &])${fact}([({])" "\\1forgotten_${fact}\\2" changed "${structure}")
  must_not_compile("${fact}" "${changed}" ElementShape)
endforeach()
string(REGEX REPLACE "\n[^\n]*operator==[^\n]*" "" changed "${structure}")
must_not_compile("operator==" "${changed}" ElementShape)
string(REPLACE ", {\"height\", &Ellipse::height}" "" changed "${structure}")
must_not_compile("a size" "${changed}" ElementShape)
string(REPLACE ", 0};" "};" changed "${structure}")
must_not_compile("an entry of kFacts" "${changed}" ShapeFacts)
