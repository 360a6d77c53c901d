# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

# An object of the library gives other libraries its public functions alone:
#   cmake -DOBJDUMP=program -DOBJECT=file -P Symbols.cmake

cmake_minimum_required(VERSION 3.23)

execute_process(COMMAND "${OBJDUMP}" -tC "${OBJECT}" OUTPUT_VARIABLE output RESULT_VARIABLE result)
string(REGEX MATCHALL "[0-9a-f]+ g[^\n]*Platform::[^\n]*" internal "${output}")
if(NOT result EQUAL 0 OR internal STREQUAL "")
    message(FATAL_ERROR "${OBJDUMP} -tC ${OBJECT} gave ${result}\n${output}")
endif()
foreach(symbol IN LISTS internal)
    if(NOT symbol MATCHES "[.]hidden")
        message(FATAL_ERROR "This symbol is internal, but not hidden:\n  ${symbol}")
    endif()
endforeach()
if(NOT output MATCHES "[0-9a-f] g[^\n]*StringUtil::NSStringToQString" OR CMAKE_MATCH_0 MATCHES "[.]hidden")
    message(FATAL_ERROR "${OBJECT} does not export StringUtil::NSStringToQString\n${output}")
endif()
