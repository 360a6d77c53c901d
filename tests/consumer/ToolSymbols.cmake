# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

# Checks that the tool uses the public classes from the shared library and does not contain any of them:
#   cmake -DNM=program -DLIBRARY=file -DTOOL=file -P ToolSymbols.cmake

cmake_minimum_required(VERSION 3.25)

# Sets OUTPUT to the names that FILE defines.
function(get_defined_names output file)
    execute_process(COMMAND "${NM}" --defined-only --format=posix ${ARGN} "${file}"
        OUTPUT_VARIABLE lines RESULT_VARIABLE result)
    if(NOT result EQUAL 0 OR lines STREQUAL "")
        message(FATAL_ERROR "${NM} ${file} returned ${result}")
    endif()
    string(REGEX MATCHALL "[^\n]+" lines "${lines}")
    list(TRANSFORM lines REPLACE " .*" "")
    set(${output} "${lines}" PARENT_SCOPE)
endfunction()

get_defined_names(public "${LIBRARY}" --dynamic)
list(TRANSFORM public REPLACE "@.*" "")
# Variables that the tool imports keep the suffix with the library's version, so they match no public name.
get_defined_names(own "${TOOL}")

set(twice "")
foreach(name IN LISTS public)
    if(name IN_LIST own)
        string(APPEND twice "\n  ${name}")
    endif()
endforeach()
if(twice)
    message(FATAL_ERROR "The tool contains these symbols of the library:${twice}")
endif()
