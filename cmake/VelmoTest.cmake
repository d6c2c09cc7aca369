# velmo_add_test(NAME SOURCES source... [LIBRARIES target...] [LABELS label...])
# Adds a test program of GoogleTest cases. Each case is a test of CTest. Under sanitizers, where a process starts slowly,
# only two tests of CTest run half of the cases each.
include(GoogleTest)
# Calls that are expected to throw return nothing that could be used. The option must come after those of velmo_warnings.
add_library(velmo_ignored_results INTERFACE)
target_compile_options(velmo_ignored_results INTERFACE -Wno-unused-result)
function(velmo_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES;LABELS")
  add_executable(${name} ${arg_SOURCES})
  set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE OFF) # like the precompiled header
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} velmo_test_support velmo_warnings velmo_ignored_results)
  target_precompile_headers(${name} REUSE_FROM velmo_test_support)
  # Several sources are compiled together as one.
  target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
  if(VELMO_SANITIZE)
    foreach(half 0 1)
      add_test(NAME ${name}.${half} COMMAND ${name} --gtest_brief=1)
      set_tests_properties(${name}.${half} PROPERTIES
        TIMEOUT 600 LABELS "${arg_LABELS}" ENVIRONMENT "GTEST_TOTAL_SHARDS=2;GTEST_SHARD_INDEX=${half}")
    endforeach()
  else()
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300 LABELS "${arg_LABELS}")
  endif()
endfunction()
