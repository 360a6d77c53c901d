// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Passes the files and folders on the command line to a fuzzer, one by one: main() for builds without
// libFuzzer, which has its own.

#include "FuzzSupport.h"

#include <QDirIterator>
#include <QFileInfo>

namespace {

bool Replay(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "cannot read %s\n", qPrintable(path));
        return false;
    }
    const QByteArray bytes = file.readAll();
    std::printf("%s (%lld bytes)\n", qPrintable(path), static_cast<long long>(bytes.size()));
    std::fflush(stdout); // so that the last line names the failing file
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.constData()),
                           static_cast<size_t>(bytes.size()));
    return true;
}

} // namespace

int main(int argc, char* argv[])
{
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        const QString path = QFile::decodeName(argv[i]);
        QStringList files{path};
        if (QFileInfo(path).isDir()) {
            files.clear();
            for (QDirIterator it(path, QDir::Files); it.hasNext();)
                files.append(it.next());
        }
        for (const QString& file : std::as_const(files)) {
            if (!Replay(file))
                return EXIT_FAILURE;
            ++count;
        }
    }
    if (count == 0) {
        std::fprintf(stderr, "no input\n");
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
