# floor(<name> [SOURCES <file>...] [LINKS <target>...])
#
# One folder, one target. The folder's headers can be included only by who links the target, so an include that looks
# upward or sideways does not compile. A folder with include/ shows only that; one without shows itself. A floor
# without sources is headers only.
function(floor name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")
    set(shown ${CMAKE_CURRENT_SOURCE_DIR})
    if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/include)
        set(shown ${CMAKE_CURRENT_SOURCE_DIR}/include)
    endif()
    if(arg_SOURCES)
        add_library(${name} STATIC ${arg_SOURCES})
        target_include_directories(${name} PUBLIC ${shown})
        target_link_libraries(${name} PUBLIC ${arg_LINKS})
    else()
        add_library(${name} INTERFACE)
        target_include_directories(${name} INTERFACE ${shown})
        target_link_libraries(${name} INTERFACE ${arg_LINKS})
    endif()
endfunction()
