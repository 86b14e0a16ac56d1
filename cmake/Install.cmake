# What is installed and packaged: the library with its headers for hosts, and kvnsim with the
# libraries that it runs the library on.

file(MAKE_DIRECTORY ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(library_targets l3lifpdkavelin kvnsim_sdk kvnsim_fwm)
install(TARGETS ${library_targets} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS kvnsim RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

# Found beside each other wherever they are put. The library itself gets no run path: it is loaded
# by a host that has what it needs.
# The same run path serves the build tree, with bin and lib beside each other: a run path that is
# changed at installation has an empty element before, which is the current folder.
file(RELATIVE_PATH lib_from_bin /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
set(run_path $ORIGIN/${lib_from_bin} $ORIGIN/../lib)
list(REMOVE_DUPLICATES run_path)
set_target_properties(kvnsim PROPERTIES INSTALL_RPATH "${run_path}" BUILD_WITH_INSTALL_RPATH ON)
set_target_properties(kvnsim_sdk kvnsim_fwm PROPERTIES INSTALL_RPATH $ORIGIN
    BUILD_WITH_INSTALL_RPATH ON)
set_target_properties(l3lifpdkavelin PROPERTIES BUILD_WITH_INSTALL_RPATH ON)
# So the libraries of a sysroot must be beside them too.
foreach(folder ${CMAKE_BUILD_RPATH})
    file(GLOB libraries ${folder}/*.so.*)
    foreach(library ${libraries})
        get_filename_component(name ${library} NAME)
        file(CREATE_LINK ${library} ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/${name} SYMBOLIC)
    endforeach()
endforeach()

set(headers ${PROJECT_SOURCE_DIR}/l3lif/pd_kavelin)
install(FILES ${headers}/l3lifpd_kavelin.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/l3lifpd_kavelin)
install(DIRECTORY ${headers}/platform_api
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/l3lifpd_kavelin)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/sim/sdk/include/kvnsim
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples ${PROJECT_SOURCE_DIR}/schemas
    DESTINATION ${CMAKE_INSTALL_DATADIR}/kvnsim PATTERN host EXCLUDE)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/host
    DESTINATION ${KVN_LIBRARY_DOCDIR}/examples)

# What hosts' builds find the libraries by: pkg-config files and a CMake package into FOLDER, for
# libraries in LIBDIR below a prefix. The prefix of pkg-config files may be relative to them.
include(CMakePackageConfigHelpers)
function(kvn_write_package_files folder libdir prefix)
    foreach(name l3lifpdkavelin kvnsim-sdk kvnsim-fwm)
        configure_file(${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in
            ${folder}/pkgconfig/${name}.pc @ONLY)
    endforeach()
    file(RELATIVE_PATH includes_from_config
        /${libdir}/cmake/kavelin-l3 /${CMAKE_INSTALL_INCLUDEDIR})
    configure_file(${PROJECT_SOURCE_DIR}/cmake/kavelin-l3-config.cmake.in
        ${folder}/cmake/kavelin-l3/kavelin-l3-config.cmake @ONLY)
    write_basic_package_version_file(${folder}/cmake/kavelin-l3/kavelin-l3-config-version.cmake
        COMPATIBILITY SameMinorVersion)
endfunction()

file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" prefix_from_pc ${prefix_from_pc})
kvn_write_package_files(${CMAKE_BINARY_DIR}/prefix ${CMAKE_INSTALL_LIBDIR}
    "\${pcfiledir}/${prefix_from_pc}")
install(DIRECTORY ${CMAKE_BINARY_DIR}/prefix/ DESTINATION ${CMAKE_INSTALL_LIBDIR})
# For the Debian packages, whose libraries of all word sizes lie beside each other.
kvn_write_package_files(${CMAKE_BINARY_DIR}/system lib/${CMAKE_LIBRARY_ARCHITECTURE} /usr)

# The archive. Debian packages are made by debian/rules.
set(CPACK_GENERATOR TGZ)
set(CPACK_PACKAGE_NAME kavelin-l3)
set(CPACK_STRIP_FILES ON)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(CPACK_SYSTEM_NAME linux-i386)
else()
    set(CPACK_SYSTEM_NAME linux-${CMAKE_SYSTEM_PROCESSOR})
endif()
include(CPack)
