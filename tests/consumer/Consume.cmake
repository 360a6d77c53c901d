# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

# Builds and runs the application of this folder against the library, in one of the ways in which applications
# use it:
#   cmake -DSTEP=... -DSCRATCH=folder ... -P Consume.cmake
#   install            installs the library from its build tree
#   install_static     installs a static library together with an application that has it as a sub-project
#   host               builds, runs and installs one application, selected by WAY, KIND, META and VARIANT
#                      (see qvutil_add_host_test in Tests.cmake)
#   pkg_config         builds one from the installation with only the compiler and pkg-config
#   pkg_config_static  the same from the static installation
#   checks             builds one whose build checks its translations and expressions
#   checks_inside      configures the same application with the library and its tool as a sub-project
#   moved              moves the installation to another folder, and builds applications from there
#   uninstall          checks what the target `uninstall` leaves behind
#   versions           checks which version requests the package accepts
#   waypost            builds a copy of the example application Waypost, and makes it draw a picture
# Each step is a test; Tests.cmake defines their dependencies.

cmake_minimum_required(VERSION 3.25)

function(run)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "OUTPUT" "COMMAND;ENVIRONMENT")
    execute_process(COMMAND "${CMAKE_COMMAND}" -E env ${arg_ENVIRONMENT} ${arg_COMMAND}
        OUTPUT_VARIABLE output ERROR_VARIABLE errors RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        list(JOIN arg_COMMAND " " command)
        message(FATAL_ERROR "${command}\nreturned ${result}\n${output}\n${errors}")
    endif()
    if(arg_OUTPUT)
        set(${arg_OUTPUT} "${output}" PARENT_SCOPE)
    endif()
endfunction()

# Runs the application twice and checks its output; the second run finds the settings of the first.
function(run_consumer program)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "ENVIRONMENT")
    file(REMOVE "${program}.settings.xml")
    foreach(count 1 2)
        run(COMMAND "${program}" "${program}.settings.xml" ENVIRONMENT ${arg_ENVIRONMENT} OUTPUT output)
        string(CONCAT expected "QvUtil ${VERSION}\nplace 10 20 300 200\nhash c9cc8cce247e49bae79f15173ce97354\n"
            "types shared\nanswer 42\nrun ${count}\n")
        if(NOT output STREQUAL expected)
            message(FATAL_ERROR "${program} printed\n${output}\ninstead of\n${expected}")
        endif()
    endforeach()
    message(STATUS "${program} printed the expected output")
endfunction()

# Builds the application in the folder BUILD, without a build type, so that all applications share the
# library's objects in ccache.
function(configure_and_build build)
    file(REMOVE_RECURSE "${build}")
    run(COMMAND "${CMAKE_COMMAND}" -G "${GENERATOR}" -S "${CMAKE_CURRENT_LIST_DIR}" -B "${build}"
        "-DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}" ${ARGN})
    run(COMMAND "${CMAKE_COMMAND}" --build "${build}" --parallel 2)
endfunction()

function(consume_by_find_package prefix build)
    configure_and_build("${build}" "-DCMAKE_CXX_COMPILER=${COMPILER}" -DWAY=find_package
        "-DCMAKE_PREFIX_PATH=${prefix};${QT_PREFIX}" ${ARGN})
    run_consumer("${build}/consumer")
endfunction()

function(consume_by_pkg_config prefix build)
    cmake_parse_arguments(PARSE_ARGV 2 arg "STATIC" "" "")
    file(REMOVE_RECURSE "${build}")
    file(MAKE_DIRECTORY "${build}")
    set(static "")
    if(arg_STATIC)
        set(static --static)
    endif()
    set(paths "PKG_CONFIG_PATH=${prefix}/${LIBDIR}/pkgconfig:${QT_PREFIX}/lib/pkgconfig")
    foreach(question cflags libs)
        run(COMMAND "${PKG_CONFIG}" --${question} ${static} qvutil ENVIRONMENT "${paths}" OUTPUT answer)
        string(STRIP "${answer}" answer)
        separate_arguments(${question} UNIX_COMMAND "${answer}")
    endforeach()
    run(COMMAND "${MOC}" -o "${build}/moc_Host.cpp" "${CMAKE_CURRENT_LIST_DIR}/Host.h")
    set(objects "")
    foreach(source "${CMAKE_CURRENT_LIST_DIR}/main.cpp" "${CMAKE_CURRENT_LIST_DIR}/Host.cpp" "${build}/moc_Host.cpp")
        get_filename_component(name "${source}" NAME_WE)
        run(COMMAND ${LAUNCHER} "${COMPILER}" -std=c++17 -Wall -fPIC ${cflags}
            -c "${source}" -o "${build}/${name}.o")
        list(APPEND objects "${build}/${name}.o")
    endforeach()
    run(COMMAND "${COMPILER}" -o "${build}/consumer" ${objects} ${libs})
    run_consumer("${build}/consumer"
        ENVIRONMENT "LD_LIBRARY_PATH=${prefix}/${LIBDIR}" "DYLD_LIBRARY_PATH=${prefix}/${LIBDIR}")
endfunction()

# Checks that exactly the public headers are installed.
function(check_headers prefix)
    file(GLOB found RELATIVE "${prefix}/${INCLUDEDIR}/qvutil" "${prefix}/${INCLUDEDIR}/qvutil/*")
    list(SORT found)
    set(expected ${HEADERS})
    list(SORT expected)
    if(NOT found STREQUAL expected)
        message(FATAL_ERROR "The installed headers are\n  ${found}\ninstead of\n  ${expected}")
    endif()
endfunction()

# Checks that the licence is installed with the library.
function(check_licence prefix)
    file(GLOB_RECURSE found RELATIVE "${prefix}" "${prefix}/*LICENSE")
    if(NOT found MATCHES "doc/qvutil/LICENSE$")
        message(FATAL_ERROR "The installed licence is \"${found}\"")
    endif()
endfunction()

# Checks that no installed file names a folder of the build or the sources.
function(check_paths prefix)
    file(GLOB_RECURSE texts "${prefix}/*.cmake" "${prefix}/*.pc" "${prefix}/*.h")
    foreach(text IN LISTS texts)
        file(READ "${text}" content)
        foreach(folder "${BUILD}" "${SOURCE}" "${prefix}")
            string(FIND "${content}" "${folder}" place)
            if(NOT place EQUAL -1)
                message(FATAL_ERROR "${text} names ${folder}, so the installation cannot be moved")
            endif()
        endforeach()
    endforeach()
endfunction()

# Installs the build tree and checks the installation. With UNINSTALL, removes it again. Preserves the list of
# files that the developer has installed from this build tree, because `uninstall` needs it.
function(install_package build prefix)
    cmake_parse_arguments(PARSE_ARGV 2 arg "UNINSTALL" "" "")
    set(manifest "${build}/install_manifest.txt")
    file(MAKE_DIRECTORY "${SCRATCH}")
    if(EXISTS "${manifest}")
        file(RENAME "${manifest}" "${SCRATCH}/install_manifest.txt")
    endif()
    file(REMOVE_RECURSE "${prefix}")
    run(COMMAND "${CMAKE_COMMAND}" --install "${build}" --prefix "${prefix}")
    check_headers("${prefix}")
    check_licence("${prefix}")
    check_paths("${prefix}")
    if(arg_UNINSTALL)
        run(COMMAND "${CMAKE_COMMAND}" -P "${build}/Uninstall.cmake")
    endif()
    file(REMOVE "${manifest}")
    if(EXISTS "${SCRATCH}/install_manifest.txt")
        file(RENAME "${SCRATCH}/install_manifest.txt" "${manifest}")
    endif()
endfunction()

function(step_install)
    install_package("${BUILD}" "${SCRATCH}/installed")
endfunction()

# Installs an application that was built with the library as a sub-project, and runs the installed program.
# Files of the library may only be installed with INSTALL.
function(install_host build prefix)
    cmake_parse_arguments(PARSE_ARGV 2 arg "INSTALL" "" "")
    file(REMOVE_RECURSE "${prefix}")
    run(COMMAND "${CMAKE_COMMAND}" --install "${build}" --prefix "${prefix}")
    file(GLOB_RECURSE files RELATIVE "${prefix}" "${prefix}/*")
    if(NOT arg_INSTALL)
        if(NOT files STREQUAL "${BINDIR}/consumer")
            message(FATAL_ERROR "Installing the application also installed these files: ${files}")
        endif()
        return()
    endif()
    check_headers("${prefix}")
    check_licence("${prefix}")
    check_paths("${prefix}")
    run_consumer("${prefix}/${BINDIR}/consumer")
endfunction()

# Checks that a folder contains a library of this kind and no other.
function(check_kind folder kind)
    file(GLOB_RECURSE found RELATIVE "${folder}" "${folder}/*libQvUtil*")
    if(kind STREQUAL "static" AND NOT found MATCHES "^[^;]*libQvUtil\\.a$")
        message(FATAL_ERROR "Only the static library is expected, but found: ${found}")
    endif()
    if(kind STREQUAL "shared" AND (NOT found MATCHES "libQvUtil\\.(so|1|dylib)" OR found MATCHES "libQvUtil\\.a"))
        message(FATAL_ERROR "Only the shared library is expected, but found: ${found}")
    endif()
endfunction()

function(step_install_static)
    set(build "${SCRATCH}/install_static")
    configure_and_build("${build}" "-DCMAKE_CXX_COMPILER=${COMPILER}" "-DCMAKE_PREFIX_PATH=${QT_PREFIX}"
        -DWAY=subdirectory "-DQVUTIL_FOLDER=${SOURCE}" -DHOST_AUTOMOC=ON -DQVUTIL_INSTALL=ON)
    run_consumer("${build}/consumer")
    check_kind("${build}" static)
    install_host("${build}" "${SCRATCH}/static" INSTALL)
    check_kind("${SCRATCH}/static" static)
endfunction()

# Adds the settings of the variant to the variables of step_host.
macro(apply_variant)
    set(install "")
    if(VARIANT STREQUAL "clang")
        set(compiler "${CLANG}")
    elseif(VARIANT STREQUAL "cxx23")
        list(APPEND arguments -DCMAKE_CXX_STANDARD=23)
    elseif(VARIANT STREQUAL "demanding")
        list(APPEND arguments -DHOST_DEMANDING=ON)
    elseif(VARIANT STREQUAL "headers")
        list(APPEND arguments "-DQVUTIL_HEADERS=${HEADERS}")
    elseif(VARIANT STREQUAL "install")
        list(APPEND arguments -DQVUTIL_INSTALL=ON)
        set(install INSTALL)
    elseif(VARIANT STREQUAL "lto")
        list(APPEND arguments -DCMAKE_INTERPROCEDURAL_OPTIMIZATION=ON)
    elseif(VARIANT STREQUAL "unity")
        list(APPEND arguments -DCMAKE_UNITY_BUILD=ON)
    elseif(VARIANT)
        message(FATAL_ERROR "Unknown VARIANT \"${VARIANT}\"")
    endif()
endmacro()

function(step_host)
    set(build "${SCRATCH}/${NAME}")
    set(compiler "${COMPILER}")
    set(arguments "-DWAY=${WAY}")
    set(prefix "${QT_PREFIX}")
    set(inside FALSE)
    if(WAY MATCHES "^(subdirectory|fetch_content)$")
        set(inside TRUE)
        list(APPEND arguments "-DQVUTIL_FOLDER=${SOURCE}")
        if(KIND STREQUAL "shared") # static is the default
            list(APPEND arguments -DBUILD_SHARED_LIBS=ON)
        endif()
    elseif(KIND STREQUAL "shared")
        string(PREPEND prefix "${SCRATCH}/installed;")
    else()
        string(PREPEND prefix "${SCRATCH}/static;")
    endif()
    if(META STREQUAL "automoc")
        list(APPEND arguments -DHOST_AUTOMOC=ON)
    endif()

    apply_variant()
    configure_and_build("${build}" "-DCMAKE_CXX_COMPILER=${compiler}" "-DCMAKE_PREFIX_PATH=${prefix}" ${arguments})
    run_consumer("${build}/consumer")
    if(NOT inside)
        return()
    endif()
    check_kind("${build}" "${KIND}")
    install_host("${build}" "${build}_installed" ${install})
    if(KIND STREQUAL "static")
        run_consumer("${build}_installed/${BINDIR}/consumer")
    else()
        file(GLOB_RECURSE libraries "${build}/*libQvUtil.so" "${build}/*libQvUtil.dylib")
        run(COMMAND "${CMAKE_COMMAND}" "-DNM=${NM}" "-DLIBRARY=${libraries}" "-DAPPLE=${APPLE}"
            -P "${CMAKE_CURRENT_LIST_DIR}/Exports.cmake")
    endif()
endfunction()

function(step_pkg_config)
    consume_by_pkg_config("${SCRATCH}/installed" "${SCRATCH}/pkg_config")
endfunction()

function(step_pkg_config_static)
    consume_by_pkg_config("${SCRATCH}/static" "${SCRATCH}/pkg_config_static" STATIC)
endfunction()

# Builds the application in the folder "checks" and runs its tests. Both must succeed; with FAILS_WITH, both
# must fail with output that matches it.
function(build_checks build)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "FAILS_WITH" "")
    set(build_command "${CMAKE_COMMAND}" --build "${build}")
    set(test_command "${CMAKE_CTEST_COMMAND}" --test-dir "${build}" --output-on-failure)
    foreach(command build_command test_command)
        execute_process(COMMAND ${${command}}
            OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
        if(NOT arg_FAILS_WITH AND NOT result EQUAL 0)
            message(FATAL_ERROR "${${command}}\nreturned ${result}\n${output}")
        endif()
        if(arg_FAILS_WITH AND (result EQUAL 0 OR NOT output MATCHES "${arg_FAILS_WITH}"))
            message(FATAL_ERROR "${${command}}\nreturned ${result} without \"${arg_FAILS_WITH}\"\n${output}")
        endif()
    endforeach()
endfunction()

# Checks that a project without the tool cannot be configured if it contains CALL, a call to one of the
# package's functions, and that the output matches WORDS.
function(reject_call call words)
    set(project "${SCRATCH}/checks_rejected")
    file(REMOVE_RECURSE "${project}")
    file(WRITE "${project}/CMakeLists.txt" "cmake_minimum_required(VERSION 3.25)\nproject(rejected NONE)\n"
        "include(\"${SOURCE}/cmake/QvUtilChecks.cmake\")\nadd_custom_target(app)\n${call}\n")
    execute_process(COMMAND "${CMAKE_COMMAND}" -G "${GENERATOR}" -S "${project}" -B "${project}/build"
        OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
    if(result EQUAL 0 OR NOT output MATCHES "${words}")
        message(FATAL_ERROR "${call}\nreturned ${result} without \"${words}\"\n${output}")
    endif()
endfunction()

function(step_checks)
    reject_call("qvutil_check_xliff(TARGET app FILES a.xlf)" "this QvUtil has no tool")
    reject_call("qvutil_lint_expressions(TARGET app FILES a.txt)" "this QvUtil has no tool")
    reject_call("qvutil_check_xliff(TARGET none FILES a.xlf)" "\"none\" is not a target")
    reject_call("qvutil_check_xliff(b.xlf TARGET app FILES a.xlf)" "unexpected b.xlf")

    set(host "${SCRATCH}/checks")
    file(REMOVE_RECURSE "${host}")
    file(COPY "${CMAKE_CURRENT_LIST_DIR}/../../examples/host-checks/" DESTINATION "${host}")
    run(COMMAND "${CMAKE_COMMAND}" -G "${GENERATOR}" -S "${host}" -B "${host}/build"
        "-DCMAKE_CXX_COMPILER=${COMPILER}" "-DCMAKE_PREFIX_PATH=${SCRATCH}/installed;${QT_PREFIX}")
    build_checks("${host}/build")

    run(COMMAND "${CMAKE_COMMAND}" --build "${host}/build" OUTPUT output)
    if(output MATCHES "Checking")
        message(FATAL_ERROR "The checks ran again although nothing had changed\n${output}")
    endif()

    break_and_repair("${host}" menu.de.xlf "<target>Speichern</target>" "<target/>" "untranslated")
    break_and_repair("${host}" menu.xml "open & writable" "open & (writable" "menu.xml")
    break_and_repair("${host}" menu.xml "open & writable" "open & writeable" "this operand is unknown")
    break_and_repair("${host}" CMakeLists.txt "ATTRIBUTES enabled" "ATTRIBUTES enabeld" "enabeld")
    break_and_repair("${host}" conditions.txt "licensed | trial" "licensed | (trial" "conditions.txt")
endfunction()

# Checks that the application's checks fail if TEXT is replaced in FILE, and succeed again without the change.
function(break_and_repair host file text replacement words)
    string(REPLACE "&" "&amp;" escaped_text "${text}")
    string(REPLACE "&" "&amp;" escaped_replacement "${replacement}")
    file(READ "${host}/${file}" good)
    if(file MATCHES "xml$")
        string(REPLACE "${escaped_text}" "${escaped_replacement}" bad "${good}")
    else()
        string(REPLACE "${text}" "${replacement}" bad "${good}")
    endif()
    if(bad STREQUAL good)
        message(FATAL_ERROR "${file} does not contain ${text}")
    endif()
    file(WRITE "${host}/${file}" "${bad}")
    build_checks("${host}/build" FAILS_WITH "${words}")
    file(WRITE "${host}/${file}" "${good}")
    build_checks("${host}/build")
endfunction()

# The same calls add the same checks if the tool is built inside the application's project.
function(step_checks_inside)
    set(host "${SCRATCH}/checks_inside")
    file(REMOVE_RECURSE "${host}")
    file(WRITE "${host}/CMakeLists.txt" "cmake_minimum_required(VERSION 3.25)\nproject(inside LANGUAGES CXX)\n"
        "enable_testing()\nset(CMAKE_AUTOMOC ON)\nset(QVUTIL_BUILD_TOOLS ON)\n"
        "add_subdirectory(\"${SOURCE}\" qvutil)\nset(QvUtil_DIR \"${host}\")\n"
        "add_subdirectory(\"${SOURCE}/examples/host-checks\" host-checks)\n")
    file(WRITE "${host}/QvUtilConfig.cmake" "set(QvUtil_FOUND TRUE)\n")
    file(WRITE "${host}/QvUtilConfigVersion.cmake"
        "set(PACKAGE_VERSION ${VERSION})\nset(PACKAGE_VERSION_COMPATIBLE TRUE)\n")
    run(COMMAND "${CMAKE_COMMAND}" -G Ninja -S "${host}" -B "${host}/build"
        "-DCMAKE_CXX_COMPILER=${COMPILER}" "-DCMAKE_PREFIX_PATH=${QT_PREFIX}")
    run(COMMAND "${CMAKE_COMMAND}" --build "${host}/build" -- -n OUTPUT plan)
    run(COMMAND "${CMAKE_CTEST_COMMAND}" --test-dir "${host}/build" -N OUTPUT tests)
    foreach(check host-checks_xliff_1 host-checks_expressions_1)
        if(NOT plan MATCHES "Linking CXX executable [^\n]*/qvutil\n.*Checking ${check}")
            message(FATAL_ERROR "The build does not run ${check} after building the tool\n${plan}")
        endif()
        if(NOT tests MATCHES ": ${check}\n")
            message(FATAL_ERROR "There is no test ${check}\n${tests}")
        endif()
    endforeach()
endfunction()

# Copies the example application and its data, builds it with the installation, and runs it.
function(step_waypost)
    set(copy "${SCRATCH}/waypost")
    file(REMOVE_RECURSE "${copy}")
    file(COPY "${SOURCE}/examples/waypost" "${SOURCE}/examples/data" DESTINATION "${copy}")
    run(COMMAND "${CMAKE_COMMAND}" -G "${GENERATOR}" -S "${copy}/waypost" -B "${copy}/build"
        "-DCMAKE_CXX_COMPILER=${COMPILER}" "-DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}"
        "-DCMAKE_PREFIX_PATH=${SCRATCH}/installed;${QT_PREFIX}")
    run(COMMAND "${CMAKE_COMMAND}" --build "${copy}/build" --parallel 2)
    run(COMMAND "${copy}/build/waypost" --language ja --screenshot "${copy}/picture.png"
            "${copy}/data/tours/ridge-walk.tour"
        ENVIRONMENT QT_QPA_PLATFORM=offscreen LC_ALL=C.UTF-8 "XDG_DATA_HOME=${copy}/home")
    file(SIZE "${copy}/picture.png" size)
    if(size LESS 10000)
        message(FATAL_ERROR "The picture has only ${size} bytes")
    endif()
    message(STATUS "The copy was built and drew a picture of ${size} bytes")
endfunction()

function(step_moved)
    file(REMOVE_RECURSE "${SCRATCH}/elsewhere")
    file(MAKE_DIRECTORY "${SCRATCH}/elsewhere")
    file(RENAME "${SCRATCH}/installed" "${SCRATCH}/elsewhere/a b")
    consume_by_find_package("${SCRATCH}/elsewhere/a b" "${SCRATCH}/elsewhere/find_package")
    # pkg-config does not support spaces in folder names.
    file(RENAME "${SCRATCH}/elsewhere/a b" "${SCRATCH}/elsewhere/deep")
    consume_by_pkg_config("${SCRATCH}/elsewhere/deep" "${SCRATCH}/elsewhere/pkg_config")
    # The tool finds the library beside it, and an application finds the tool.
    if(EXISTS "${SCRATCH}/elsewhere/deep/bin/qvutil")
        run(COMMAND "${SCRATCH}/elsewhere/deep/bin/qvutil" --version OUTPUT output)
        if(NOT output MATCHES "${VERSION}")
            message(FATAL_ERROR "The moved tool printed\n${output}")
        endif()
        # Without the tool, the rest of the package works.
        file(REMOVE "${SCRATCH}/elsewhere/deep/bin/qvutil")
        consume_by_find_package("${SCRATCH}/elsewhere/deep" "${SCRATCH}/elsewhere/without_tool")
    endif()
endfunction()

# Evaluates the package's version file. Sets OUTPUT to whether it accepts the version REQUEST.
function(is_granted output request)
    set(PACKAGE_FIND_VERSION "${request}")
    string(REGEX MATCH "^[0-9]+" PACKAGE_FIND_VERSION_MAJOR "${request}")
    set(CMAKE_SIZEOF_VOID_P "")
    include("${BUILD}/QvUtilConfigVersion.cmake")
    set(${output} "${PACKAGE_VERSION_COMPATIBLE}" PARENT_SCOPE)
endfunction()

function(step_versions)
    string(REGEX MATCH "^[0-9]+" major "${VERSION}")
    math(EXPR next "${major} + 1")
    math(EXPR previous "${major} - 1")
    foreach(request "${major}" "${major}.0" "${VERSION}")
        is_granted(granted "${request}")
        if(NOT granted)
            message(FATAL_ERROR "Version ${VERSION} does not accept the request for version ${request}")
        endif()
    endforeach()
    foreach(request "${previous}.9" "${VERSION}.1" "${major}.999" "${next}.0")
        is_granted(granted "${request}")
        if(granted)
            message(FATAL_ERROR "Version ${VERSION} accepts the request for version ${request}")
        endif()
    endforeach()
endfunction()

# Checks that installing and uninstalling leaves no file behind, and no folder with the package's name.
function(step_uninstall)
    install_package("${BUILD}" "${SCRATCH}/uninstall" UNINSTALL)
    file(GLOB_RECURSE files LIST_DIRECTORIES FALSE "${SCRATCH}/uninstall/*")
    if(files)
        message(FATAL_ERROR "Files left behind: ${files}")
    endif()
    file(GLOB_RECURSE folders LIST_DIRECTORIES TRUE "${SCRATCH}/uninstall/*")
    list(FILTER folders INCLUDE REGEX "/(qvutil|QvUtil)$")
    if(folders)
        message(FATAL_ERROR "Folders left behind: ${folders}")
    endif()
endfunction()

if(NOT DEFINED ENV{CCACHE_BASEDIR})
    set(ENV{CCACHE_BASEDIR} "${SOURCE}")
endif()
cmake_language(CALL "step_${STEP}")
