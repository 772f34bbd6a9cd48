# ids_test(<name> SOURCES <file>... [LINKS <target>...]): one test program, every test of it known to ctest.
include(GoogleTest)

function(ids_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE ${arg_LINKS} test_support GTest::gmock_main)
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120)
endfunction()
