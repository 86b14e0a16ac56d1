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
file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${CMAKE_CURRENT_LIST_DIR}/l3lifpdkavelin.pc.in l3lifpdkavelin.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/l3lifpdkavelin.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/sim/sdk/include/kvnsim
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
configure_file(${CMAKE_CURRENT_LIST_DIR}/kvnsim-sdk.pc.in kvnsim-sdk.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/kvnsim-sdk.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples ${PROJECT_SOURCE_DIR}/schemas
    DESTINATION ${CMAKE_INSTALL_DATADIR}/kvnsim)

set(CPACK_GENERATOR TGZ DEB)
set(CPACK_PACKAGE_NAME l3lifpd-kavelin)
set(CPACK_PACKAGE_CONTACT "The maintainers <maintainers@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "libc6, libstdc++6, libglib2.0-0, libsqlite3-0, libfmt9, libedit2, libhiredis0.14")
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE i386)
    set(CPACK_SYSTEM_NAME linux-i386)
endif()
include(CPack)
