# layer(<name> [SOURCES <file>...] [LINKS <target>...])
#
# One folder, one target. Only a target that links the layer can include its headers, so an include that points upward or
# sideways does not compile. A folder with include/ exports only that; one without exports itself. A layer without sources
# is headers only.
function(layer name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")
    set(exported ${CMAKE_CURRENT_SOURCE_DIR})
    if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/include)
        set(exported ${CMAKE_CURRENT_SOURCE_DIR}/include)
    endif()
    if(arg_SOURCES)
        add_library(${name} STATIC ${arg_SOURCES})
        target_include_directories(${name} PUBLIC ${exported})
        target_link_libraries(${name} PUBLIC ${arg_LINKS})
    else()
        add_library(${name} INTERFACE)
        target_include_directories(${name} INTERFACE ${exported})
        target_link_libraries(${name} INTERFACE ${arg_LINKS})
    endif()
endfunction()
