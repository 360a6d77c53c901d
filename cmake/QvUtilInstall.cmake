# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

# The install rules. The installed files can be moved to any folder, because none of them contains the installation
# prefix.
#   component Runtime       the shared library, the tool, its manual page and completions, the licence
#   component Development   headers, the static library or the link to the shared one, CMake package,
#                           pkg-config module

include(CMakePackageConfigHelpers)

# Sets OUTPUT to the relative path from the folder FROM to the installation prefix, such as "../..".
function(qvutil_path_to_prefix output from)
    file(RELATIVE_PATH way "/prefix/${from}" "/prefix")
    string(REGEX REPLACE "/$" "" way "${way}")
    set(${output} "${way}" PARENT_SCOPE)
endfunction()

# Sets OUTPUT to FOLDER in the form of pkg-config files: below ${prefix} unless FOLDER is absolute.
function(qvutil_pkgconfig_folder output folder)
    if(NOT IS_ABSOLUTE "${folder}")
        set(folder "\${prefix}/${folder}")
    endif()
    set(${output} "${folder}" PARENT_SCOPE)
endfunction()

# Sets OUTPUT to the run path of the installed tool. It is relative to the tool, so that tool and library can be moved
# together.
function(qvutil_path_to_library output)
    if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_BINDIR}")
        set(${output} "${CMAKE_INSTALL_FULL_LIBDIR}" PARENT_SCOPE)
        return()
    endif()
    file(RELATIVE_PATH way "/prefix/${CMAKE_INSTALL_BINDIR}" "/prefix/${CMAKE_INSTALL_LIBDIR}")
    if(APPLE)
        set(${output} "@loader_path/${way}" PARENT_SCOPE)
    else()
        set(${output} "$ORIGIN/${way}" PARENT_SCOPE)
    endif()
endfunction()

function(qvutil_install_pkgconfig)
    set(folder "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
    if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
        set(QVUTIL_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
    else()
        qvutil_path_to_prefix(way "${folder}")
        set(QVUTIL_PC_PREFIX "\${pcfiledir}/${way}")
    endif()
    qvutil_pkgconfig_folder(QVUTIL_PC_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}")
    qvutil_pkgconfig_folder(QVUTIL_PC_LIBDIR "${CMAKE_INSTALL_LIBDIR}")

    list(TRANSFORM QVUTIL_QT_MODULES REPLACE "(.+)" "Qt6\\1 >= ${QVUTIL_QT_MINIMUM}"
         OUTPUT_VARIABLE QVUTIL_PC_REQUIRES)
    list(JOIN QVUTIL_PC_REQUIRES ", " QVUTIL_PC_REQUIRES)

    # Libraries besides Qt. A program that links the static library needs them too.
    get_target_property(libraries QvUtil LINK_LIBRARIES)
    list(REMOVE_ITEM libraries ${QVUTIL_QT_TARGETS})
    list(JOIN libraries " " QVUTIL_PC_LIBS_PRIVATE)

    configure_file("${PROJECT_SOURCE_DIR}/cmake/qvutil.pc.in" "${PROJECT_BINARY_DIR}/qvutil.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/qvutil.pc" DESTINATION "${folder}" COMPONENT Development)
endfunction()

function(qvutil_install_cmake_package)
    set(folder "${CMAKE_INSTALL_LIBDIR}/cmake/QvUtil")
    list(JOIN QVUTIL_QT_MODULES " " QVUTIL_QT_MODULES)
    configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/QvUtilConfig.cmake.in"
        "${PROJECT_BINARY_DIR}/QvUtilConfig.cmake" INSTALL_DESTINATION "${folder}"
        PATH_VARS CMAKE_INSTALL_BINDIR NO_SET_AND_CHECK_MACRO)
    write_basic_package_version_file("${PROJECT_BINARY_DIR}/QvUtilConfigVersion.cmake"
        COMPATIBILITY SameMajorVersion)
    install(FILES
        "${PROJECT_BINARY_DIR}/QvUtilConfig.cmake" "${PROJECT_BINARY_DIR}/QvUtilConfigVersion.cmake"
        "${PROJECT_SOURCE_DIR}/cmake/QvUtilChecks.cmake"
        DESTINATION "${folder}" COMPONENT Development)
    install(EXPORT QvUtilTargets NAMESPACE QvUtil:: DESTINATION "${folder}" COMPONENT Development)
endfunction()

function(qvutil_install)
    install(TARGETS QvUtil EXPORT QvUtilTargets
        RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT Runtime
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT Runtime NAMELINK_COMPONENT Development
        ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT Development
        FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT Development)
    install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" COMPONENT Runtime
        DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/qvutil")
    qvutil_install_cmake_package()
    qvutil_install_pkgconfig()

    # Keep the run path to a Qt outside the system's folders. On macOS, the install name of the library is
    # @rpath/libQvUtil.1.dylib, so the program that uses the library sets the run path.
    set_target_properties(QvUtil PROPERTIES
        MACOSX_RPATH ON
        INSTALL_RPATH_USE_LINK_PATH ON)
    if(TARGET qvutil)
        qvutil_path_to_library(way)
        set_target_properties(qvutil PROPERTIES
            INSTALL_RPATH "${way}"
            INSTALL_RPATH_USE_LINK_PATH ON)
        # The tool has a separate export, because it can be omitted or packaged separately.
        install(TARGETS qvutil EXPORT QvUtilToolTargets
            RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT Runtime)
        install(EXPORT QvUtilToolTargets NAMESPACE QvUtil:: COMPONENT Development
            DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/QvUtil")
    endif()

    if(PROJECT_IS_TOP_LEVEL)
        configure_file("${PROJECT_SOURCE_DIR}/cmake/Uninstall.cmake.in"
            "${PROJECT_BINARY_DIR}/Uninstall.cmake" @ONLY)
        add_custom_target(uninstall
            COMMAND "${CMAKE_COMMAND}" -P "${PROJECT_BINARY_DIR}/Uninstall.cmake"
            COMMENT "Removing the installed files" VERBATIM)
    endif()
endfunction()
