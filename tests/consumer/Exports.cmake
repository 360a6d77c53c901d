# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

# The shared library shows its hosts the public classes and nothing else:
#   cmake -DNM=program -DLIBRARY=file -P Exports.cmake

cmake_minimum_required(VERSION 3.23)

set(public EnumValueName GeneralUtil IMessageResponder IPCManager LocaleUtil MessageInfo PackMessage
    ProcessInfo ExtractMessage Settings StringUtil XlfTranslator XmlFiler)

if(APPLE)
    set(options -gUC)
else()
    set(options -DC --defined-only)
endif()
execute_process(COMMAND "${NM}" ${options} "${LIBRARY}"
    OUTPUT_VARIABLE output RESULT_VARIABLE result)
if(NOT result EQUAL 0 OR output STREQUAL "")
    message(FATAL_ERROR "${NM} ${options} ${LIBRARY} gave ${result}")
endif()

string(REPLACE ";" "," output "${output}")
string(REPLACE "[" "<" output "${output}")
string(REPLACE "]" ">" output "${output}")
string(REPLACE "\n" ";" symbols "${output}")
set(internal "")
set(seen "")
foreach(symbol IN LISTS symbols)
    string(REGEX MATCHALL "Quorvin::Util::[A-Za-z0-9_~(]+" names "${symbol}")
    list(TRANSFORM names REPLACE "Quorvin::Util::" "")
    list(TRANSFORM names REPLACE "([A-Za-z0-9_])[(].*" "\\1") # of a function
    list(APPEND seen ${names})
    list(REMOVE_ITEM names ${public})
    if(names)
        list(APPEND internal "${symbol}")
    elseif(symbol MATCHES "^[0-9a-f]+ [A-Z] " AND NOT symbol MATCHES "Quorvin::Util::"
            AND NOT symbol MATCHES " [WV] |BooleanExpressionEvaluator")
        list(APPEND internal "${symbol}") # ours, and in no namespace
    endif()
endforeach()

if(internal)
    list(JOIN internal "\n  " internal)
    message(FATAL_ERROR "These symbols are internal, but the library exports them:\n  ${internal}")
endif()
if(NOT "XmlFiler" IN_LIST seen)
    message(FATAL_ERROR "${LIBRARY} does not even export XmlFiler")
endif()
