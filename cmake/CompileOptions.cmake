# How this project's own sources are compiled and linked, whatever the target.

# What is given holds, nothing at all (-DCMAKE_CXX_COMPILER_LAUNCHER=) too.
find_program(CCACHE ccache)
foreach(language C CXX)
    if(CCACHE AND NOT DEFINED CMAKE_${language}_COMPILER_LAUNCHER)
        set(CMAKE_${language}_COMPILER_LAUNCHER ${CCACHE})
    endif()
endforeach()

add_compile_options(-Wall -Wextra -Wconversion -Wshadow -Wformat=2 -Werror)

# Many files as one compile in a third of the time. What is local to each they then share.
if(CMAKE_UNITY_BUILD)
    add_compile_options(-Wno-shadow $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-subobject-linkage>)
endif()

# The same files wherever the sources and the build are; of two that fit, the last holds.
if(NOT KVN_COVERAGE)
    add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.
        -ffile-prefix-map=${PROJECT_BINARY_DIR}=.)
endif()

# Programs read what strangers wrote. The sanitizers, and code that is not optimised, go without.
if(NOT (KVN_SANITIZE OR KVN_FUZZ OR KVN_COVERAGE))
    add_compile_options(-fstack-protector-strong -fcf-protection)
    add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
    set(KVN_FORTIFY -D_FORTIFY_SOURCE=2)
endif()
add_compile_options(${KVN_FORTIFY})

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
