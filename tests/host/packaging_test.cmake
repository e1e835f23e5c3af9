# The library as a package, one step a run:
#
#   install        builds the library alone and installs it under FOLDER/prefix
#   find_package   a CMake project finds it, builds and runs with it
#   pkg_config     a plain compiler call finds it by pkg-config, and the program runs
#   headers_alone  every public header compiles by itself
#
# The prefix is none that the library was configured for: an installed tree may be moved.
#
# Hosts may be C++17 and as strict about warnings as they like.

set(PREFIX ${FOLDER}/prefix)
set(CONSUMER ${SOURCE_FOLDER}/tests/host/consumer)
set(STRICT -std=c++17 -Wall -Wextra -Wpedantic -Wconversion -Werror)
set(EXPECTED_OUTPUT "4..8\n")

# Runs a command, which must succeed; its output is in OUTPUT.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output
    ERROR_VARIABLE errors)
  if(NOT result EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${command}\nended with ${result}\n${output}${errors}")
  endif()
  set(OUTPUT "${output}" PARENT_SCOPE)
endfunction()

function(expect_right_answer program)
  run(${ARGN} ${program})
  if(NOT OUTPUT STREQUAL EXPECTED_OUTPUT)
    message(FATAL_ERROR "${program} printed \"${OUTPUT}\", not \"${EXPECTED_OUTPUT}\"")
  endif()
endfunction()

function(install_library)
  file(REMOVE_RECURSE ${FOLDER})
  run(${CMAKE_COMMAND} -S ${SOURCE_FOLDER} -B ${FOLDER}/library -G ${GENERATOR}
    -D CMAKE_BUILD_TYPE=Release
    -D CMAKE_CXX_COMPILER=${COMPILER}
    -D CMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}
    -D CMAKE_INSTALL_LIBDIR=lib
    -D BUILD_TESTING=OFF
    -D TROVEX_BUILD_CLI=OFF)
  run(${CMAKE_COMMAND} --build ${FOLDER}/library)
  run(${CMAKE_COMMAND} --install ${FOLDER}/library --prefix ${PREFIX})
  foreach(file IN ITEMS include/trovex/trovex.h lib/libtrovex.so lib/libtrovex.so.1
      lib/pkgconfig/trovex.pc lib/cmake/Trovex/TrovexConfig.cmake)
    if(NOT EXISTS ${PREFIX}/${file})
      message(FATAL_ERROR "${file} was not installed")
    endif()
  endforeach()
endfunction()

function(use_find_package)
  run(${CMAKE_COMMAND} -S ${CONSUMER} -B ${FOLDER}/consumer -G ${GENERATOR}
    -D CMAKE_CXX_COMPILER=${COMPILER}
    -D CMAKE_PREFIX_PATH=${PREFIX})
  run(${CMAKE_COMMAND} --build ${FOLDER}/consumer)
  expect_right_answer(${FOLDER}/consumer/consumer)
endfunction()

function(use_pkg_config)
  find_program(PKG_CONFIG pkg-config)
  if(NOT PKG_CONFIG)
    message("SKIPPED: no pkg-config on this machine")
    return()
  endif()
  run(${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${PREFIX}/lib/pkgconfig
    ${PKG_CONFIG} --cflags --libs trovex)
  separate_arguments(flags UNIX_COMMAND "${OUTPUT}")
  run(${COMPILER} ${STRICT} ${CONSUMER}/main.cpp ${flags} -o ${FOLDER}/with_pkg_config)
  expect_right_answer(${FOLDER}/with_pkg_config
    ${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${PREFIX}/lib)
endfunction()

function(compile_headers_alone)
  file(GLOB headers RELATIVE ${PREFIX}/include ${PREFIX}/include/trovex/*.h)
  list(LENGTH headers count)
  if(count LESS 6)
    message(FATAL_ERROR "only ${count} headers were installed")
  endif()
  foreach(header IN LISTS headers)
    file(WRITE ${FOLDER}/header_alone.cpp "#include <${header}>\n#include <${header}>\n")
    run(${COMPILER} ${STRICT} -fsyntax-only -I ${PREFIX}/include ${FOLDER}/header_alone.cpp)
  endforeach()
endfunction()

if(STEP STREQUAL "install")
  install_library()
elseif(STEP STREQUAL "find_package")
  use_find_package()
elseif(STEP STREQUAL "pkg_config")
  use_pkg_config()
elseif(STEP STREQUAL "headers_alone")
  compile_headers_alone()
else()
  message(FATAL_ERROR "unknown step ${STEP}")
endif()
