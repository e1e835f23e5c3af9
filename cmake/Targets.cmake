# What every target of this tree is compiled with.

function(trovex_common_settings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion)
  if(TROVEX_SANITIZE OR TROVEX_BUILD_FUZZERS)
    target_compile_options(${target} PRIVATE
      -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=address,undefined)
  endif()
  if(TROVEX_SANITIZE_THREADS)
    target_compile_options(${target} PRIVATE -fsanitize=thread -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=thread)
  endif()
  if(TROVEX_BUILD_FUZZERS)
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
endfunction()

# What the tests' own code is compiled with besides: it is the library that ships, so a test spends little on
# being fast, and leaves out the checks that say nothing of the library and take half of a test's compilation
# (of null, the address sanitizer tells, too).
function(trovex_test_settings target)
  trovex_common_settings(${target})
  if(CMAKE_BUILD_TYPE STREQUAL Release)
    target_compile_options(${target} PRIVATE -O1)
  endif()
  if(TROVEX_SANITIZE)
    target_compile_options(${target} PRIVATE -fno-sanitize=null,alignment,pointer-overflow)
  endif()
  trovex_precompile_test_headers(${target})
endfunction()
