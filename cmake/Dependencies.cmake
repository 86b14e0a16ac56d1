# What the build takes from Debian, as targets that are the same for every word size:
#   kvn::glib kvn::sqlite kvn::fmt kvn::edit kvn::hiredis kvn::allocator
#   kvn::rapidjson kvn::rapidcheck kvn::benchmark GTest::gtest GTest::gtest_main GTest::gmock

find_package(Threads REQUIRED)

# kvn_dependency(NAME LIBRARY lib HEADERS header... [INCLUDE_SUFFIX dir...])
# Without LIBRARY the dependency is headers only.
function(kvn_dependency name)
    cmake_parse_arguments(arg "" "LIBRARY" "HEADERS;PATH_SUFFIXES;LINK" ${ARGN})
    add_library(kvn::${name} INTERFACE IMPORTED GLOBAL)
    foreach(header ${arg_HEADERS})
        string(MAKE_C_IDENTIFIER "KVN_${name}_${header}" var)
        find_path(${var} ${header} PATH_SUFFIXES ${arg_PATH_SUFFIXES} REQUIRED)
        mark_as_advanced(${var})
        # The compiler searches /usr/include by itself, and must do so last.
        if(NOT ${var} STREQUAL "/usr/include")
            target_include_directories(kvn::${name} SYSTEM INTERFACE ${${var}})
        endif()
    endforeach()
    if(arg_LIBRARY)
        find_library(KVN_${name}_LIBRARY ${arg_LIBRARY} REQUIRED)
        mark_as_advanced(KVN_${name}_LIBRARY)
        target_link_libraries(kvn::${name} INTERFACE ${KVN_${name}_LIBRARY})
    endif()
    target_link_libraries(kvn::${name} INTERFACE ${arg_LINK})
endfunction()

kvn_dependency(glib LIBRARY glib-2.0 HEADERS glib.h glibconfig.h
    PATH_SUFFIXES glib-2.0 lib/${CMAKE_LIBRARY_ARCHITECTURE}/glib-2.0/include)
kvn_dependency(sqlite LIBRARY sqlite3 HEADERS sqlite3.h)
kvn_dependency(fmt LIBRARY fmt HEADERS fmt/format.h)
kvn_dependency(edit LIBRARY edit HEADERS histedit.h)
kvn_dependency(hiredis LIBRARY hiredis HEADERS hiredis/hiredis.h)
# The first to define malloc, mimalloc serves all that a program loads. Its own operator new ends the
# process where there is no memory: the standard library's is found before it.
kvn_dependency(mimalloc LIBRARY mimalloc HEADERS mimalloc.h)
add_library(kvn::allocator INTERFACE IMPORTED GLOBAL)
target_link_libraries(kvn::allocator INTERFACE stdc++ kvn::mimalloc)
kvn_dependency(rapidjson HEADERS rapidjson/reader.h)
kvn_dependency(rapidcheck LIBRARY rapidcheck HEADERS rapidcheck.h)
kvn_dependency(benchmark LIBRARY benchmark HEADERS benchmark/benchmark.h LINK Threads::Threads)

if(BUILD_TESTING)
    # From source, so that it exists for 32 bit and with the sanitizers too.
    set(INSTALL_GTEST OFF)
    add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
endif()
