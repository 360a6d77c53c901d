# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

# If clazy is the compiler, run the same checks as scripts/lint.
if(CMAKE_CXX_COMPILER MATCHES "/clazy[^/]*$")
    file(STRINGS "${PROJECT_SOURCE_DIR}/.clazy" QVUTIL_CLAZY_CHECKS REGEX "^[^#]")
    list(JOIN QVUTIL_CLAZY_CHECKS "," QVUTIL_CLAZY_CHECKS)
    set(QVUTIL_CLAZY_OPTIONS
        "SHELL:-Xclang -plugin-arg-clazy -Xclang ${QVUTIL_CLAZY_CHECKS}"
        "SHELL:-Xclang -plugin-arg-clazy -Xclang ignore-included-files")
endif()

# Sets the warnings, strict Qt definitions, hidden visibility and sanitizers of a target of this project.
#
# If this project is part of another one, CMAKE_AUTOMOC, CMAKE_CXX_STANDARD, CMAKE_UNITY_BUILD and similar variables of
# that project become the defaults of our targets, so each property that matters is set here. The other project
# decides on optimisation, including CMAKE_INTERPROCEDURAL_OPTIMIZATION.
function(qvutil_configure_target target)
    target_compile_features(${target} PRIVATE cxx_std_20)
    set_target_properties(${target} PROPERTIES
        AUTOMOC ON
        AUTORCC OFF
        AUTOUIC OFF
        CXX_STANDARD 20
        CXX_STANDARD_REQUIRED ON
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        OBJCXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON)
    # VISIBILITY_INLINES_HIDDEN applies to C++ only.
    target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:OBJCXX>:-fvisibility-inlines-hidden>)
    target_compile_definitions(${target} PRIVATE
        QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_BYTEARRAY QT_NO_URL_CAST_FROM_STRING
        QT_NO_KEYWORDS QT_NO_FOREACH QT_NO_NARROWING_CONVERSIONS_IN_CONNECT QT_NO_CONTEXTLESS_CONNECT
        QT_DEPRECATED_WARNINGS_SINCE=0x060400 QT_WARN_DEPRECATED_UP_TO=0x060400)
    if(NOT PROJECT_IS_TOP_LEVEL)
        # Warnings that the other project turns on must not stop the build of our sources.
        set_target_properties(${target} PROPERTIES COMPILE_WARNING_AS_ERROR OFF UNITY_BUILD OFF)
        if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
            target_compile_options(${target} PRIVATE -w)
        endif()
    elseif(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
        target_compile_options(${target} PRIVATE
            -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
            -Wold-style-cast -Wcast-qual)
    endif()
    target_compile_options(${target} PRIVATE ${QVUTIL_CLAZY_OPTIONS})
    if(QVUTIL_SANITIZE)
        target_compile_options(${target} PRIVATE
            "-fsanitize=${QVUTIL_SANITIZE}" -fno-omit-frame-pointer -fno-sanitize-recover=all)
        target_link_options(${target} PRIVATE "-fsanitize=${QVUTIL_SANITIZE}")
    endif()
endfunction()
