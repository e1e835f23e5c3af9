# Headers that are compiled once for many units. What a unit forgot to include is not noticed with them, so a
# build without them has to be made, too.

set(TROVEX_PRECOMPILED_HEADERS NONE CACHE STRING
    "What is built with precompiled headers: NONE, TESTS, or ALL")
set_property(CACHE TROVEX_PRECOMPILED_HEADERS PROPERTY STRINGS NONE TESTS ALL)

# Those of the library and its hosts. Each target has its own, as they differ in how they are compiled.
function(trovex_precompile_headers target)
  if(TROVEX_PRECOMPILED_HEADERS STREQUAL ALL)
    target_precompile_headers(${target} PRIVATE
      $<$<COMPILE_LANGUAGE:CXX>:${PROJECT_SOURCE_DIR}/cmake/precompiled.h>)
  endif()
endfunction()

# Those of the tests, which share them.
function(trovex_precompile_test_headers target)
  if(NOT TARGET trovex_test_headers OR target STREQUAL trovex_test_headers)
    return()
  endif()
  get_target_property(units ${target} SOURCES)
  list(FILTER units INCLUDE REGEX "\\.cpp$")
  if(units)
    target_precompile_headers(${target} REUSE_FROM trovex_test_headers)
    # What GCC 12 inlines of std::string out of such a header it warns of without reason.
    target_compile_options(${target} PRIVATE -Wno-array-bounds -Wno-stringop-overflow)
  endif()
endfunction()
