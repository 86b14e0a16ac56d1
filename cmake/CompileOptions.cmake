# How this project's own sources are compiled and linked, whatever the target.

find_program(CCACHE ccache)
if(CCACHE)
    set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

add_compile_options(-Wall -Wextra -Wconversion -Wshadow -Wformat=2 -Werror)

if(KVN_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()

if(KVN_FUZZ)
    # Another compiler, whose warnings are not the ones this code is held to.
    # RapidJSON adds offsets to null pointers.
    add_compile_options(-w -fsanitize=fuzzer-no-link,address,undefined
        -fno-sanitize=pointer-overflow -fno-sanitize-recover=all)
    add_link_options(-fsanitize=address,undefined)
endif()

if(KVN_COVERAGE)
    add_compile_options(--coverage -fprofile-update=atomic)
    add_link_options(--coverage)
endif()
