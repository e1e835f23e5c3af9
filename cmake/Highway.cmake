# Vector instructions through Highway, which chooses the best the machine has at run time.

if(TROVEX_USE_HIGHWAY STREQUAL "AUTO")
  find_package(hwy QUIET)
  if(NOT hwy_FOUND)
    message(STATUS "Highway is not installed: texts are searched without vector instructions")
    return()
  endif()
else()
  find_package(hwy REQUIRED)
endif()

target_compile_definitions(trovex_objects PUBLIC TROVEX_USE_HIGHWAY)
target_link_libraries(trovex_objects PUBLIC hwy::hwy)
if(hwy_VERSION VERSION_LESS 1.1)
  # Its library takes milliseconds to load, and the headers call but two functions of it, and a third
  # in builds for debugging.
  target_sources(trovex PRIVATE ${PROJECT_SOURCE_DIR}/api/highway_functions.cpp)
  target_include_directories(trovex PRIVATE ${PROJECT_SOURCE_DIR})
  target_compile_options(trovex PRIVATE -fvisibility=hidden)
else()
  # By its file: what the installed library is linked with is no target of other builds.
  target_link_libraries(trovex PRIVATE $<TARGET_LINKER_FILE:hwy::hwy>)
endif()
