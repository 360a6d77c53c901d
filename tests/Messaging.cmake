# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

# The tests of messaging. Those labelled `threads` are to run under the thread sanitizer.

set(messaging_tests
    tst_Grid
    tst_IPCManager
    tst_MessageClient
    tst_MessageEncoding
    tst_MessageFraming
    tst_MessageLink
    tst_MessageRestarts
    tst_MessageServer
    tst_MessageThreads
)

# The other process of the tests.
add_executable(MessagePeer helpers/MessagePeer.cpp)
qvutil_configure_target(MessagePeer)
target_link_libraries(MessagePeer PRIVATE QvUtilInternals)

foreach(test IN LISTS messaging_tests)
    qvutil_add_test(${test} INTERNALS)
    add_dependencies(${test} MessagePeer)
    target_compile_definitions(${test} PRIVATE MESSAGE_PEER="$<TARGET_FILE:MessagePeer>")
endforeach()
set_tests_properties(${messaging_tests} PROPERTIES LABELS threads TIMEOUT 1200)
set_tests_properties(tst_MessageRestarts PROPERTIES LABELS "threads;slow" TIMEOUT 1800)
