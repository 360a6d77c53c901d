# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

# Checks that the macOS backend exports only the public function to other libraries:
#   cmake -DOBJDUMP=program -DINTERNAL=object -DPUBLIC=object -P Symbols.cmake

cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND "${OBJDUMP}" -tC "${INTERNAL}" OUTPUT_VARIABLE output RESULT_VARIABLE result)
string(REGEX MATCHALL "[0-9a-f]+ g[^\n]*Platform::[^\n]*" internal "${output}")
if(NOT result EQUAL 0 OR internal STREQUAL "")
    message(FATAL_ERROR "${OBJDUMP} -tC ${INTERNAL} returned ${result}\n${output}")
endif()
foreach(symbol IN LISTS internal)
    if(NOT symbol MATCHES "[.]hidden")
        message(FATAL_ERROR "This symbol is internal, but not hidden:\n  ${symbol}")
    endif()
endforeach()

execute_process(COMMAND "${OBJDUMP}" -tC "${PUBLIC}" OUTPUT_VARIABLE output)
if(NOT output MATCHES "[0-9a-f] g[^\n]*StringUtil::NSStringToQString" OR CMAKE_MATCH_0 MATCHES "[.]hidden")
    message(FATAL_ERROR "${PUBLIC} does not export StringUtil::NSStringToQString\n${output}")
endif()
