# The library as a package, one step a run:
#
#   install        builds the library alone and installs it under FOLDER/prefix
#   find_package   a CMake project finds it, builds and runs with it
#   pkg_config     a plain compiler call finds it by pkg-config, and the program runs
#   readme         the example of README.md builds with pkg-config's help, without warnings, and runs
#   headers_alone  every public header compiles by itself, the one for C as C
#
# The prefix is none that the library was configured for: an installed tree may be moved.
#
# Hosts may be C++17 and as strict about warnings as they like.

set(PREFIX ${FOLDER}/prefix)
set(CONSUMER ${SOURCE_FOLDER}/tests/host/consumer)
set(STRICT -std=c++17 -Wall -Wextra -Wpedantic -Wconversion -Werror)
set(STRICT_C -x c -std=c11 -Wall -Wextra -Wpedantic -Wconversion -Werror)

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

function(expect_answer program answer)
  run(${ARGN} ${program})
  if(NOT OUTPUT STREQUAL answer)
    message(FATAL_ERROR "${program} printed \"${OUTPUT}\", not \"${answer}\"")
  endif()
endfunction()

# Builds a program as a plain compiler call that asks pkg-config, and runs it.
function(expect_answer_with_pkg_config source program answer)
  find_program(PKG_CONFIG pkg-config)
  if(NOT PKG_CONFIG)
    message("SKIPPED: no pkg-config on this machine")
    return()
  endif()
  run(${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${PREFIX}/lib/pkgconfig
    ${PKG_CONFIG} --cflags --libs trovex)
  separate_arguments(flags UNIX_COMMAND "${OUTPUT}")
  run(${COMPILER} ${STRICT} ${source} ${flags} -o ${program})
  expect_answer(${program} "${answer}" ${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${PREFIX}/lib)
endfunction()

function(install_library)
  file(REMOVE_RECURSE ${FOLDER})
  run(${CMAKE_COMMAND} -S ${SOURCE_FOLDER} -B ${FOLDER}/library -G ${GENERATOR}
    -D CMAKE_BUILD_TYPE=Release
    -D CMAKE_CXX_COMPILER=${COMPILER}
    -D CMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}
    -D CMAKE_INSTALL_LIBDIR=lib
    -D BUILD_TESTING=OFF
    -D TROVEX_BUILD_CLI=OFF
    -D TROVEX_BUILD_SQLITE=OFF)
  run(${CMAKE_COMMAND} --build ${FOLDER}/library)
  run(${CMAKE_COMMAND} --install ${FOLDER}/library --prefix ${PREFIX})
  foreach(file IN ITEMS include/trovex/trovex.h include/trovex/query.h
      include/trovex/query_c.h lib/libtrovex.so lib/libtrovex.so.1
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
  expect_answer(${FOLDER}/consumer/consumer "4..8\n")
endfunction()

function(use_pkg_config)
  expect_answer_with_pkg_config(${CONSUMER}/main.cpp ${FOLDER}/with_pkg_config "4..8\n")
endfunction()

# The example is the first block of C++ in the page.
function(use_readme)
  file(READ ${SOURCE_FOLDER}/README.md page)
  string(FIND "${page}" "```cpp\n" begin)
  math(EXPR begin "${begin} + 7")
  string(SUBSTRING "${page}" ${begin} -1 page)
  string(FIND "${page}" "```" end)
  string(SUBSTRING "${page}" 0 ${end} example)
  file(WRITE ${FOLDER}/readme.cpp "${example}")
  expect_answer_with_pkg_config(${FOLDER}/readme.cpp ${FOLDER}/readme "4 to 8\n12 to 15\n")
endfunction()

function(compile_headers_alone)
  file(GLOB headers RELATIVE ${PREFIX}/include ${PREFIX}/include/trovex/*.h)
  list(LENGTH headers count)
  if(count LESS 8)
    message(FATAL_ERROR "only ${count} headers were installed")
  endif()
  foreach(header IN LISTS headers)
    file(WRITE ${FOLDER}/header_alone.cpp "#include <${header}>\n#include <${header}>\n")
    run(${COMPILER} ${STRICT} -fsyntax-only -I ${PREFIX}/include ${FOLDER}/header_alone.cpp)
  endforeach()
  file(WRITE ${FOLDER}/header_alone.c "#include <trovex/query_c.h>\n#include <trovex/query_c.h>\n")
  run(${COMPILER} ${STRICT_C} -fsyntax-only -I ${PREFIX}/include ${FOLDER}/header_alone.c)
endfunction()

if(STEP STREQUAL "install")
  install_library()
elseif(STEP STREQUAL "find_package")
  use_find_package()
elseif(STEP STREQUAL "pkg_config")
  use_pkg_config()
elseif(STEP STREQUAL "readme")
  use_readme()
elseif(STEP STREQUAL "headers_alone")
  compile_headers_alone()
else()
  message(FATAL_ERROR "unknown step ${STEP}")
endif()
