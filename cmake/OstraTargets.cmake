# ostra_room(NAME SOURCES ... [USES ...] [LIBRARIES ...])
# One folder of the host. USES names the rooms it may include; LIBRARIES the outside libraries underneath it.
function(ostra_room name)
  cmake_parse_arguments(room "" "" "SOURCES;USES;LIBRARIES" ${ARGN})
  if(room_SOURCES)
    add_library(ostra_${name} OBJECT ${room_SOURCES})
    target_link_libraries(ostra_${name} PRIVATE ostra_flags)
    set(scope PUBLIC)
  else()
    add_library(ostra_${name} INTERFACE)
    set(scope INTERFACE)
  endif()
  target_include_directories(ostra_${name} ${scope} $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
  list(TRANSFORM room_USES PREPEND ostra_)
  target_link_libraries(ostra_${name} ${scope} ${room_USES} ${room_LIBRARIES})
endfunction()

# ostra_test(NAME SOURCES ... [LABELS ...] [LIBRARIES ...] [TIMEOUT seconds])
# A GoogleTest program; each of its tests is a test of CTest with the given labels (default: unit).
function(ostra_test name)
  cmake_parse_arguments(test "" "TIMEOUT" "SOURCES;LABELS;LIBRARIES" ${ARGN})
  if(NOT test_LABELS)
    set(test_LABELS unit)
  endif()
  if(NOT test_TIMEOUT)
    set(test_TIMEOUT 120)
  endif()
  add_executable(${name} ${test_SOURCES})
  # Much less time for half of all files. Kernels and libraries that a test has with it stay as they are
  # shipped. With fewer steps GCC takes members for uninitialized that nobody reads.
  set_source_files_properties(${test_SOURCES} PROPERTIES
    COMPILE_OPTIONS "$<$<CONFIG:Release>:-Og;-Wno-maybe-uninitialized>")
  target_link_libraries(${name} PRIVATE ostra_flags ostra ${test_LIBRARIES} GTest::gmock GTest::gtest_main)
  # Tests ask for sizes that cannot be had; a sanitizer must answer like an allocator, not end the process.
  set(environment)
  if(OSTRA_SANITIZE MATCHES "address")
    set(environment ENVIRONMENT ASAN_OPTIONS=allocator_may_return_null=1)
  elseif(OSTRA_SANITIZE MATCHES "thread")
    set(environment ENVIRONMENT TSAN_OPTIONS=allocator_may_return_null=1)
  endif()
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60
    PROPERTIES LABELS "${test_LABELS}" TIMEOUT ${test_TIMEOUT} ${environment})
endfunction()
