# What every target is compiled with.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

include(CheckPIESupported)
check_pie_supported()

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wconversion
                    -Wformat=2 -Werror)

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    add_compile_options(-Wno-restrict) # false alarms of GCC 12 on std::string's operator+
endif()

add_link_options(-Wl,--as-needed) # libdlt only for the program that links its log

# Paths of the build tree would get into the programs by __FILE__.
add_compile_options(-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)

if(IDS_SANITIZE)
    add_compile_options(-fsanitize=${IDS_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${IDS_SANITIZE})
else()
    # Every build is hardened, so that the tests run what ships.
    add_compile_options(-fstack-protector-strong -fstack-clash-protection -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2
                        -D_GLIBCXX_ASSERTIONS)
    include(CheckCXXCompilerFlag)
    set(CMAKE_REQUIRED_FLAGS -Werror) # clang only warns of a flag that is for another processor
    foreach(flag -fcf-protection=full -mbranch-protection=standard -ftrivial-auto-var-init=zero)
        string(MAKE_C_IDENTIFIER "HAVE${flag}" known)
        check_cxx_compiler_flag(${flag} ${known})
        if(${known})
            add_compile_options(${flag})
        endif()
    endforeach()
    unset(CMAKE_REQUIRED_FLAGS)
    add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack,-z,separate-code)
endif()
