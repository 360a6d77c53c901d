# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

# Runs an example in an empty folder and compares its output with the output in the documentation.
#   cmake -DPROGRAM=file -DARGUMENTS=list -DRUNS=n -DFOLDER=folder -DEXPECTED=file -P RunExample.cmake

file(REMOVE_RECURSE "${FOLDER}")
file(MAKE_DIRECTORY "${FOLDER}")
# Killed processes leave sockets behind. The folder has a short path, because the length of a socket's path is limited.
string(RANDOM LENGTH 8 suffix)
set(temporary "/tmp/qvutil-example-${suffix}")
file(MAKE_DIRECTORY "${temporary}")
set(printed "")
foreach(run RANGE 1 ${RUNS})
    execute_process(COMMAND "${CMAKE_COMMAND}" -E env TZ=UTC "TMPDIR=${temporary}" "${PROGRAM}" ${ARGUMENTS}
        WORKING_DIRECTORY "${FOLDER}" OUTPUT_VARIABLE output RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        file(REMOVE_RECURSE "${temporary}")
        message(FATAL_ERROR "${PROGRAM} failed: ${result}\n${output}")
    endif()
    string(APPEND printed "${output}")
endforeach()

file(REMOVE_RECURSE "${temporary}")
file(READ "${EXPECTED}" expected)
if(NOT printed STREQUAL expected)
    message(FATAL_ERROR "${PROGRAM} printed\n${printed}\nnot\n${expected}")
endif()
