# What is installed and packaged: the library with its headers for hosts, and kvnsim with the
# libraries that it runs the library on.

set(library_targets l3lifpdkavelin kvnsim_sdk kvnsim_fwm)
install(TARGETS ${library_targets} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS kvnsim RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

# Found beside each other wherever they are put. The library itself gets no run path: it is loaded
# by a host that has what it needs.
file(RELATIVE_PATH lib_from_bin /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
set_target_properties(kvnsim PROPERTIES INSTALL_RPATH "$ORIGIN/${lib_from_bin}")
set_target_properties(kvnsim_sdk kvnsim_fwm PROPERTIES INSTALL_RPATH "$ORIGIN")

set(headers ${PROJECT_SOURCE_DIR}/l3lif/pd_kavelin)
install(FILES ${headers}/l3lifpd_kavelin.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/l3lifpd_kavelin)
install(DIRECTORY ${headers}/platform_api
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/l3lifpd_kavelin)
file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${CMAKE_CURRENT_LIST_DIR}/l3lifpdkavelin.pc.in l3lifpdkavelin.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/l3lifpdkavelin.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
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
