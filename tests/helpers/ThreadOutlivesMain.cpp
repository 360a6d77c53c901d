// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// A program whose main thread ends at once, while a second thread runs until standard input is closed.
#include <cstdio>
#include <thread>

#include <pthread.h>

int main()
{
    std::thread([mainThread = pthread_self()] {
        pthread_join(mainThread, nullptr);
        std::puts("main thread has ended");
        std::fflush(stdout);
        while (std::getchar() != EOF) { }
        std::_Exit(0);
    }).detach();
    pthread_exit(nullptr);
}
