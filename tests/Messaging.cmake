# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

# The tests of messaging, labelled `threads`: those to run under the thread sanitizer.

set(messaging_tests
    tst_MessageEncoding
    tst_MessageFraming
)

foreach(test IN LISTS messaging_tests)
    qvutil_add_test(${test} INTERNALS)
endforeach()
set_tests_properties(${messaging_tests} PROPERTIES LABELS threads)
