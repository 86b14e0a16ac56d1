include(GoogleTest)

# kvn_add_test(NAME SOURCES file... [LIBS target...])
# A GoogleTest program; each of its tests becomes a ctest test named NAME.Suite.Test. The programs
# are asked for their tests when ctest runs, so that building them never runs them.
function(kvn_add_test name)
    cmake_parse_arguments(arg "" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE ${arg_LIBS} GTest::gtest_main GTest::gmock)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin/tests)
    gtest_discover_tests(${name} TEST_PREFIX ${name}. DISCOVERY_MODE PRE_TEST NO_PRETTY_VALUES
        DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()
