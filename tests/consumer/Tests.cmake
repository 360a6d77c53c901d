# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

# Registers the tests of the package. They build small programs outside this build tree, with this build's
# compiler, and take the library from its build tree where they can; they are labelled `package` and `slow`.

find_program(QVUTIL_PKG_CONFIG NAMES pkg-config pkgconf)
get_filename_component(QVUTIL_QT_PREFIX "${Qt6_DIR}/../../.." ABSOLUTE)
get_target_property(QVUTIL_LIBRARY_KIND QvUtil TYPE)

# Adds the test package_STEP.   AFTER step...   what must have been done before
function(qvutil_add_package_test step)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "AFTER")
    add_test(NAME package_${step} COMMAND "${CMAKE_COMMAND}"
        "-DSTEP=${step}" "-DSCRATCH=${CMAKE_CURRENT_BINARY_DIR}/consumer"
        "-DSOURCE=${PROJECT_SOURCE_DIR}" "-DBUILD=${PROJECT_BINARY_DIR}" "-DVERSION=${PROJECT_VERSION}"
        "-DHEADERS=${QVUTIL_HEADER_NAMES}" "-DLIBDIR=${CMAKE_INSTALL_LIBDIR}"
        "-DINCLUDEDIR=${CMAKE_INSTALL_INCLUDEDIR}" "-DQT_PREFIX=${QVUTIL_QT_PREFIX}"
        "-DGENERATOR=${CMAKE_GENERATOR}" "-DCOMPILER=${CMAKE_CXX_COMPILER}"
        "-DLAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER}" "-DPKG_CONFIG=${QVUTIL_PKG_CONFIG}"
        "-DMOC=$<TARGET_FILE:Qt6::moc>"
        -P "${CMAKE_CURRENT_SOURCE_DIR}/consumer/Consume.cmake")
    list(TRANSFORM arg_AFTER PREPEND package_)
    set_tests_properties(package_${step} PROPERTIES
        TIMEOUT 600
        LABELS "package;slow"
        DEPENDS "${arg_AFTER}"
        FIXTURES_SETUP "package_${step}"
        FIXTURES_REQUIRED "${arg_AFTER}")
endfunction()

get_target_property(QVUTIL_HEADER_NAMES QvUtil HEADER_SET)
list(TRANSFORM QVUTIL_HEADER_NAMES REPLACE "^.*/" "")

qvutil_add_package_test(install)
qvutil_add_package_test(find_package AFTER install)
qvutil_add_package_test(pkg_config AFTER install)
set(qvutil_installation_users find_package pkg_config)
if(TARGET qvutil)
    qvutil_add_package_test(checks AFTER install)
    list(APPEND qvutil_installation_users checks)
endif()
qvutil_add_package_test(moved AFTER install ${qvutil_installation_users})
qvutil_add_package_test(subdirectory)
qvutil_add_package_test(static AFTER subdirectory)
qvutil_add_package_test(uninstall)
qvutil_add_package_test(versions)
set_tests_properties(package_install package_uninstall PROPERTIES RESOURCE_LOCK "package_build")

if(QVUTIL_LIBRARY_KIND STREQUAL "SHARED_LIBRARY")
    add_test(NAME package_exports COMMAND "${CMAKE_COMMAND}"
        "-DNM=${CMAKE_NM}" "-DLIBRARY=$<TARGET_FILE:QvUtil>" "-DAPPLE=${APPLE}"
        -P "${CMAKE_CURRENT_SOURCE_DIR}/consumer/Exports.cmake")
    set_tests_properties(package_exports PROPERTIES LABELS "package")
endif()
