# ids_test(<name> SOURCES <file>... [LINKS <target>...]): one test program, every test of it known to ctest.
include(GoogleTest)

function(ids_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE ${arg_LINKS} test_support test_main)
    set(seconds 120)
    if(CMAKE_CROSSCOMPILING)
        set(seconds 360) # in an emulator
    endif()
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT ${seconds})
endfunction()

# not_emulated(<test>...): those that user-mode emulation cannot run, of a program in the same folder. The comment at the
# call says why.
function(not_emulated)
    if(NOT CMAKE_CROSSCOMPILING)
        return()
    endif()
    set(script ${CMAKE_CURRENT_BINARY_DIR}/not-emulated.cmake)
    string(REPLACE ";" " " tests "${ARGN}")
    file(WRITE ${script} "set_tests_properties(${tests} PROPERTIES DISABLED TRUE)\n")
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${script})
endfunction()
