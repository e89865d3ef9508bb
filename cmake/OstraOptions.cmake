# Options and compiler flags shared by all targets.

option(OSTRA_BUILD_TESTS "Build the tests" ${PROJECT_IS_TOP_LEVEL})
option(OSTRA_BUILD_BENCHMARKS "Build the benchmark program" ${PROJECT_IS_TOP_LEVEL})
set(OSTRA_SANITIZE "" CACHE STRING "Sanitizers to build with: address,undefined or thread or leak")
option(OSTRA_FUZZ "Link the fuzz targets with libFuzzer (Clang), and let it see into everything" OFF)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Everything that is run or loaded lies together, as in an installed tree.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)

find_program(OSTRA_CCACHE ccache)
if(OSTRA_CCACHE)
  # Without these it keeps no file that has precompiled headers.
  set(ccache_environment CCACHE_SLOPPINESS=pch_defines,time_macros)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env ${ccache_environment} ${OSTRA_CCACHE})
  # A precompiled header knows its files by all of their bytes (#pragma once asks for them). Taken from the cache because
  # the preprocessed text is the same, it may hold files whose comments were others, and those are then entered twice.
  # Depending on the files alone never gives one of those; the namespace keeps away what was stored the other way.
  set(OSTRA_PRECOMPILED_LAUNCHER ${CMAKE_COMMAND} -E env ${ccache_environment} CCACHE_DEPEND=1
                                 CCACHE_NAMESPACE=precompiled ${OSTRA_CCACHE})
endif()

add_library(ostra_flags INTERFACE)
target_compile_options(ostra_flags INTERFACE -Wall -Wextra -Wpedantic -Werror $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local>)
# Host and module arithmetic is never contracted, so that CPU and GPU can give the same bits.
target_compile_options(ostra_flags INTERFACE -ffp-contract=off -fno-math-errno)
if(OSTRA_SANITIZE)
  add_compile_options(-fsanitize=${OSTRA_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${OSTRA_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Instrumented code confuses this warning; release builds keep it.
    target_compile_options(ostra_flags INTERFACE -Wno-maybe-uninitialized)
  endif()
  if(OSTRA_SANITIZE MATCHES "undefined")
    # Class information is hidden and so differs between shared objects: the vptr check would report false alarms.
    add_compile_options(-fno-sanitize=vptr -fno-sanitize-recover=undefined)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      # With these checks GCC 12 refuses constexpr arrays of classes with a destructor; null is found by its access.
      add_compile_options(-fno-sanitize=null,nonnull-attribute,returns-nonnull-attribute)
    endif()
  endif()
endif()
if(OSTRA_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
