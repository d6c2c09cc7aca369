# velmo_add_test(NAME SOURCES source... [LIBRARIES target...])
# A test program of GoogleTest cases, each of them a test of CTest; under sanitizers, where a process takes long
# to start, all of them together.
include(GoogleTest)
function(velmo_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES")
  add_executable(${name} ${arg_SOURCES})
  set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE OFF) # as the precompiled header
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} velmo_test_support velmo_warnings)
  target_precompile_headers(${name} REUSE_FROM velmo_test_support)
  if(VELMO_SANITIZE)
    add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
    set_tests_properties(${name} PROPERTIES TIMEOUT 600)
  else()
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
  endif()
endfunction()
