# The product as it ships: 32 bit, by the machine's own compiler with -m32. Libraries other than
# the C and C++ runtimes come from the sysroot that scripts/setup unpacks.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER gcc)
set(CMAKE_CXX_COMPILER g++)
set(CMAKE_C_FLAGS_INIT -m32)
set(CMAKE_CXX_FLAGS_INIT -m32)
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)

get_filename_component(KVN_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot-i386 ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH ${KVN_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE NEVER)

# Programs run from the build tree. A run path of the old kind (DT_RPATH) also serves what the
# libraries themselves need.
set(kvn_sysroot_libs ${KVN_SYSROOT}/usr/lib/i386-linux-gnu ${KVN_SYSROOT}/lib/i386-linux-gnu)
set(CMAKE_BUILD_RPATH ${kvn_sysroot_libs})
list(TRANSFORM kvn_sysroot_libs PREPEND -Wl,-rpath-link, OUTPUT_VARIABLE kvn_rpath_link)
list(JOIN kvn_rpath_link " " kvn_rpath_link)
foreach(kind EXE SHARED MODULE)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT "-Wl,--disable-new-dtags ${kvn_rpath_link}")
endforeach()
