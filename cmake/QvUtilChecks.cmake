# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

# Functions that check translations and expressions in the build of another project. find_package(QvUtil) and
# add_subdirectory define them. Each call adds a build step, which TARGET waits for and which runs again only when a
# file has changed, and a test of the same name, TARGET_xliff_1 or TARGET_expressions_1.
#
#   qvutil_check_xliff(TARGET name FILES file... [DOCUMENTS file-or-folder...] [ALLOW kind...])
#     FILES        XLIFF files, as for `qvutil xliff check`
#     DOCUMENTS    XML files whose texts they translate; a folder means all *.xml files below it
#     ALLOW        kinds of findings that are not errors, such as `untranslated`
#
#   qvutil_lint_expressions(TARGET name [FILES file...] [ATTRIBUTES name...] [EXPRESSIONS text...]
#                           [OPERANDS file])
#     FILES        with ATTRIBUTES: XML files with expressions in these attributes; without: files with one
#                  expression per line
#     EXPRESSIONS  the expressions themselves
#     OPERANDS     file with the known operands, one per line; empty lines and lines that begin with '#' are
#                  ignored
#
# Relative paths are relative to the current source folder.

# Stops with an error unless all arguments are known, TARGET is a target, and there is a tool to run.
macro(_qvutil_require_check function)
    if(arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "${function}: unexpected ${arg_UNPARSED_ARGUMENTS}")
    endif()
    if(NOT arg_TARGET OR NOT TARGET "${arg_TARGET}")
        message(FATAL_ERROR "${function}: TARGET \"${arg_TARGET}\" is not a target")
    endif()
    if(NOT TARGET QvUtil::qvutil-tool)
        message(FATAL_ERROR "${function}: this QvUtil has no tool to check with. Build it with "
            "QVUTIL_BUILD_TOOLS=ON, and install it with its component Runtime.")
    endif()
endmacro()

# Sets OUTPUT to the absolute paths of files.
function(_qvutil_find_files output)
    set(files "")
    foreach(file IN LISTS ARGN)
        get_filename_component(path "${file}" ABSOLUTE)
        list(APPEND files "${path}")
    endforeach()
    set(${output} "${files}" PARENT_SCOPE)
endfunction()

# Adds the build step and the test.
#   COMMAND argument...   arguments of the tool
#   INPUTS file...        files that the check depends on
function(_qvutil_add_check target kind)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "" "COMMAND;INPUTS")
    set(number 1)
    while(TARGET "${target}_${kind}_${number}")
        math(EXPR number "${number} + 1")
    endwhile()
    set(name "${target}_${kind}_${number}")
    set(stamp "${CMAKE_CURRENT_BINARY_DIR}/${name}.stamp")
    add_custom_command(OUTPUT "${stamp}"
        COMMAND "$<TARGET_FILE:QvUtil::qvutil-tool>" ${arg_COMMAND}
        COMMAND "${CMAKE_COMMAND}" -E touch "${stamp}"
        DEPENDS QvUtil::qvutil-tool "$<TARGET_FILE:QvUtil::qvutil-tool>" ${arg_INPUTS}
        COMMENT "Checking ${name}"
        VERBATIM)
    add_custom_target(${name} DEPENDS "${stamp}")
    add_dependencies(${target} ${name})
    add_test(NAME ${name} COMMAND "$<TARGET_FILE:QvUtil::qvutil-tool>" ${arg_COMMAND})
endfunction()

function(qvutil_check_xliff)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "TARGET" "FILES;DOCUMENTS;ALLOW")
    _qvutil_require_check(qvutil_check_xliff)
    if(NOT arg_FILES)
        message(FATAL_ERROR "qvutil_check_xliff: FILES is missing")
    endif()
    _qvutil_find_files(files ${arg_FILES})
    _qvutil_find_files(documents ${arg_DOCUMENTS})
    set(options "")
    set(inputs ${files})
    foreach(document IN LISTS documents)
        list(APPEND options --documents "${document}")
        if(IS_DIRECTORY "${document}")
            file(GLOB_RECURSE found CONFIGURE_DEPENDS "${document}/*.xml")
            list(APPEND inputs ${found})
        else()
            list(APPEND inputs "${document}")
        endif()
    endforeach()
    if(documents)
        list(APPEND options --recursive)
    endif()
    foreach(kind IN LISTS arg_ALLOW)
        list(APPEND options --allow "${kind}")
    endforeach()
    _qvutil_add_check("${arg_TARGET}" xliff COMMAND xliff check ${options} -- ${files} INPUTS ${inputs})
endfunction()

function(qvutil_lint_expressions)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "TARGET;OPERANDS" "FILES;ATTRIBUTES;EXPRESSIONS")
    _qvutil_require_check(qvutil_lint_expressions)
    if(NOT arg_FILES AND NOT arg_EXPRESSIONS)
        message(FATAL_ERROR "qvutil_lint_expressions: FILES or EXPRESSIONS is missing")
    endif()
    if(arg_ATTRIBUTES AND NOT arg_FILES)
        message(FATAL_ERROR "qvutil_lint_expressions: ATTRIBUTES require FILES")
    endif()
    _qvutil_find_files(files ${arg_FILES})
    set(kind --file)
    if(arg_ATTRIBUTES)
        set(kind --xml)
    endif()
    set(options "")
    foreach(file IN LISTS files)
        list(APPEND options ${kind} "${file}")
    endforeach()
    foreach(attribute IN LISTS arg_ATTRIBUTES)
        list(APPEND options --attribute "${attribute}")
    endforeach()
    if(arg_OPERANDS)
        _qvutil_find_files(operands "${arg_OPERANDS}")
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${operands}")
        file(STRINGS "${operands}" names ENCODING UTF-8)
        list(TRANSFORM names STRIP)
        list(FILTER names EXCLUDE REGEX "^(#.*)?$")
        list(JOIN names "," known)
        # The leading comma makes an empty list valid. It means that no operand is known.
        list(APPEND options "--known=,${known}")
    endif()
    _qvutil_add_check("${arg_TARGET}" expressions
        COMMAND expr lint ${options} -- ${arg_EXPRESSIONS} INPUTS ${files} ${operands})
endfunction()
