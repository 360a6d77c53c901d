# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

# Checks that the shared library exports only the public classes:
#   cmake -DNM=program -DLIBRARY=file [-DAPPLE=ON] -P Exports.cmake

cmake_minimum_required(VERSION 3.25)

# The public classes, which must all be exported. Those in the second list have virtual functions.
set(classes BooleanExpressionEvaluator Quorvin::Util::GeneralUtil Quorvin::Util::LocaleUtil
    Quorvin::Util::StringUtil Quorvin::Util::XlfTranslator)
set(polymorphic Quorvin::Util::IMessageResponder Quorvin::Util::IPCManager Quorvin::Util::Settings
    Quorvin::Util::XmlFiler)
set(functions Quorvin::Util::ExtractMessage Quorvin::Util::PackMessage)

if(APPLE)
    set(options -gUC)
else()
    set(options -DC --defined-only)
endif()
execute_process(COMMAND "${NM}" ${options} "${LIBRARY}"
    OUTPUT_VARIABLE output RESULT_VARIABLE result)
if(NOT result EQUAL 0 OR output STREQUAL "")
    message(FATAL_ERROR "${NM} ${options} ${LIBRARY} returned ${result}")
endif()
string(REPLACE ";" "," output "${output}")
string(REPLACE "[" "<" output "${output}")
string(REPLACE "]" ">" output "${output}")
string(REPLACE "\n" ";" symbols "${output}")
list(FILTER symbols EXCLUDE REGEX "^$")

list(JOIN classes "|" all)
list(JOIN polymorphic "|" virtual)
list(JOIN functions "|" free)
set(internal "")
foreach(symbol IN LISTS symbols)
    if(NOT symbol MATCHES "^[0-9a-f]+ ([A-Za-z]) (.*)$")
        message(FATAL_ERROR "${NM} printed an unexpected line: \"${symbol}\"")
    endif()
    set(kind "${CMAKE_MATCH_1}")
    string(REGEX REPLACE "@+QVUTIL_[0-9]+$" "" name "${CMAKE_MATCH_2}")
    if(kind STREQUAL "A" AND name MATCHES "^QVUTIL_[0-9]+$") # the symbol version
    elseif(name MATCHES "^(non-virtual thunk to )?(${all}|${virtual})::(~?[A-Za-z_0-9]+|operator[^A-Za-z ]+)(<|[(]|$)")
        list(APPEND seen "${CMAKE_MATCH_2}")
    elseif(name MATCHES "^(${free})(<|[(])")
        list(APPEND seen "${CMAKE_MATCH_1}")
    elseif(name MATCHES "^(typeinfo|typeinfo name|vtable) for (${virtual})$")
        list(APPEND seen "${CMAKE_MATCH_1} for ${CMAKE_MATCH_2}")
    elseif(APPLE AND NOT name MATCHES "Quorvin|QvUtil")
        # On macOS, only the compiler hides symbols, and instantiated templates stay visible.
    else()
        list(APPEND internal "${symbol}")
    endif()
endforeach()
if(internal)
    list(JOIN internal "\n  " internal)
    message(FATAL_ERROR "These symbols are internal, but the library exports them:\n  ${internal}")
endif()

set(expected ${classes} ${functions})
foreach(class IN LISTS polymorphic)
    list(APPEND expected "${class}" "typeinfo for ${class}" "typeinfo name for ${class}" "vtable for ${class}")
endforeach()
list(REMOVE_ITEM expected ${seen})
if(expected)
    list(JOIN expected "\n  " expected)
    message(FATAL_ERROR "The library does not export\n  ${expected}")
endif()
