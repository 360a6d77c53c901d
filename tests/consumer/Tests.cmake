# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

# Adds the tests of the package. They build small programs outside this build tree, with the same compiler,
# and use the library from its build tree where possible. Their labels are `package` and `slow`. If ccache
# is installed, it caches what they compile repeatedly.

find_program(QVUTIL_PKG_CONFIG NAMES pkg-config pkgconf)
get_filename_component(QVUTIL_QT_PREFIX "${Qt6_DIR}/../../.." ABSOLUTE)
get_target_property(QVUTIL_LIBRARY_KIND QvUtil TYPE)

find_program(QVUTIL_CLANG NAMES clang++ clang++-19 clang++-18 clang++-16 clang++-15 clang++-14)

# Adds the test package_NAME.
#   STEP name          the step of Consume.cmake; NAME by default
#   AFTER name...      steps that must run before
#   VARIABLES x=y...   further variables for the step
function(qvutil_add_package_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "STEP" "AFTER;VARIABLES")
    if(NOT arg_STEP)
        set(arg_STEP ${name})
    endif()
    list(TRANSFORM arg_VARIABLES PREPEND -D)
    add_test(NAME package_${name} COMMAND "${CMAKE_COMMAND}"
        "-DSTEP=${arg_STEP}" "-DNAME=${name}" ${arg_VARIABLES}
        "-DSCRATCH=${CMAKE_CURRENT_BINARY_DIR}/consumer"
        "-DSOURCE=${PROJECT_SOURCE_DIR}" "-DBUILD=${PROJECT_BINARY_DIR}" "-DVERSION=${PROJECT_VERSION}"
        "-DHEADERS=${QVUTIL_HEADER_NAMES}" "-DBINDIR=${CMAKE_INSTALL_BINDIR}"
        "-DLIBDIR=${CMAKE_INSTALL_LIBDIR}" "-DINCLUDEDIR=${CMAKE_INSTALL_INCLUDEDIR}"
        "-DQT_PREFIX=${QVUTIL_QT_PREFIX}" "-DGENERATOR=${CMAKE_GENERATOR}" "-DCOMPILER=${CMAKE_CXX_COMPILER}"
        "-DCLANG=${QVUTIL_CLANG}" "-DLAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER}"
        "-DPKG_CONFIG=${QVUTIL_PKG_CONFIG}" "-DMOC=$<TARGET_FILE:Qt6::moc>" "-DNM=${CMAKE_NM}" "-DAPPLE=${APPLE}"
        -P "${CMAKE_CURRENT_SOURCE_DIR}/consumer/Consume.cmake")
    list(TRANSFORM arg_AFTER PREPEND package_)
    set_tests_properties(package_${name} PROPERTIES
        TIMEOUT 900
        LABELS "package;slow"
        DEPENDS "${arg_AFTER}"
        FIXTURES_SETUP "package_${name}"
        FIXTURES_REQUIRED "${arg_AFTER}")
endfunction()

# Adds the test of one kind of application, package_host_WAY_KIND_META or package_host_WAY_KIND_META_VARIANT.
#   WAY      find_package, pkg_config, subdirectory or fetch_content
#   KIND     shared or static: the library
#   META     automoc or wrap: how the application's meta-objects are created
#   VARIANT  clang, cxx23, demanding, headers, install, lto or unity: what differs from the usual build
function(qvutil_add_host_test way kind meta)
    set(name "host_${way}_${kind}_${meta}")
    if(ARGN)
        string(APPEND name "_${ARGN}")
    endif()
    if(way MATCHES "find_package|pkg_config" AND kind STREQUAL "shared")
        set(after install)
    else()
        set(after install_static) # which compiles the library for the first time
    endif()
    if(ARGN MATCHES "lto|clang|demanding" AND way STREQUAL "subdirectory" AND kind STREQUAL "shared")
        set(after "host_subdirectory_static_${meta}_${ARGN}")
    endif()
    qvutil_add_package_test(${name} STEP host AFTER ${after}
        VARIABLES "WAY=${way}" "KIND=${kind}" "META=${meta}" "VARIANT=${ARGN}")
endfunction()

get_target_property(QVUTIL_HEADER_NAMES QvUtil HEADER_SET)
list(TRANSFORM QVUTIL_HEADER_NAMES REPLACE "^.*/" "")

set(qvutil_installation_users "")
if(QVUTIL_INSTALL)
    qvutil_add_package_test(install)
    qvutil_add_package_test(pkg_config AFTER install)
    list(APPEND qvutil_installation_users pkg_config)
    if(TARGET qvutil)
        qvutil_add_package_test(checks AFTER install)
        list(APPEND qvutil_installation_users checks)
    endif()
    find_package(Qt6 ${QVUTIL_QT_MINIMUM} QUIET COMPONENTS Widgets)
    if(TARGET Qt6::Widgets)
        qvutil_add_package_test(waypost AFTER install)
        list(APPEND qvutil_installation_users waypost)
    endif()
    qvutil_add_package_test(uninstall)
    set_tests_properties(package_install package_uninstall PROPERTIES RESOURCE_LOCK "package_build")
    qvutil_add_package_test(versions)
endif()
qvutil_add_package_test(install_static)
qvutil_add_package_test(pkg_config_static AFTER install_static)
if(TARGET qvutil)
    qvutil_add_package_test(checks_inside)
endif()

# All kinds of applications. The installed shared library is that of this build tree.
foreach(meta automoc wrap)
    foreach(kind shared static)
        foreach(way subdirectory fetch_content find_package pkg_config)
            if(way MATCHES "find_package|pkg_config" AND kind STREQUAL "shared")
                if(NOT QVUTIL_INSTALL OR NOT QVUTIL_LIBRARY_KIND STREQUAL "SHARED_LIBRARY")
                    continue()
                endif()
                list(APPEND qvutil_installation_users "host_${way}_shared_${meta}")
            endif()
            qvutil_add_host_test(${way} ${kind} ${meta})
        endforeach()
    endforeach()
endforeach()
set(qvutil_variants cxx23 unity demanding lto)
if(QVUTIL_CLANG)
    list(APPEND qvutil_variants clang)
else()
    message(STATUS "clang++ not found: no application is built with it")
endif()
foreach(variant IN LISTS qvutil_variants)
    qvutil_add_host_test(subdirectory static automoc ${variant})
    qvutil_add_host_test(subdirectory shared automoc ${variant})
    foreach(way find_package pkg_config)
        qvutil_add_host_test(${way} static automoc ${variant})
        if(QVUTIL_INSTALL AND QVUTIL_LIBRARY_KIND STREQUAL "SHARED_LIBRARY")
            qvutil_add_host_test(${way} shared automoc ${variant})
            list(APPEND qvutil_installation_users "host_${way}_shared_automoc_${variant}")
        endif()
    endforeach()
endforeach()
qvutil_add_host_test(subdirectory shared automoc install)
if(QVUTIL_INSTALL)
    qvutil_add_host_test(find_package shared automoc headers)
    list(APPEND qvutil_installation_users host_find_package_shared_automoc_headers)
    qvutil_add_package_test(moved AFTER install ${qvutil_installation_users})
endif()

if(QVUTIL_LIBRARY_KIND STREQUAL "SHARED_LIBRARY")
    add_test(NAME package_exports COMMAND "${CMAKE_COMMAND}"
        "-DNM=${CMAKE_NM}" "-DLIBRARY=$<TARGET_FILE:QvUtil>" "-DAPPLE=${APPLE}"
        -P "${CMAKE_CURRENT_SOURCE_DIR}/consumer/Exports.cmake")
    set_tests_properties(package_exports PROPERTIES LABELS "package")
    if(TARGET qvutil AND NOT APPLE)
        add_test(NAME package_tool_symbols COMMAND "${CMAKE_COMMAND}"
            "-DNM=${CMAKE_NM}" "-DLIBRARY=$<TARGET_FILE:QvUtil>" "-DTOOL=$<TARGET_FILE:qvutil>"
            -P "${CMAKE_CURRENT_SOURCE_DIR}/consumer/ToolSymbols.cmake")
        set_tests_properties(package_tool_symbols PROPERTIES LABELS "package")
    endif()
endif()
