// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_FUZZSUPPORT_H
#define QVUTIL_FUZZSUPPORT_H

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

/// Helpers for the fuzzers.
namespace Fuzz {

inline QByteArray Bytes(const uint8_t* data, size_t size)
{
    return {reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)};
}

/// Returns the input as UTF-16, including unpaired surrogates.
inline QString Utf16(const QByteArray& bytes)
{
    QString text(bytes.size() / 2, Qt::Uninitialized);
    std::memcpy(text.data(), bytes.constData(), static_cast<size_t>(text.size()) * 2);
    return text;
}

/// Returns the path of a file in a folder that is removed when the fuzzer ends. Does not create the file.
inline QString File(const char* name)
{
    static const QTemporaryDir folder;
    return folder.filePath(QString::fromLatin1(name));
}

/// Aborts with a message if a condition is false, as a sanitizer does.
inline void Check(bool condition, const char* expectation)
{
    if (condition)
        return;
    std::fprintf(stderr, "check failed: %s\n", expectation);
    std::abort();
}

/// Like File(name), but creates the file, or replaces its content. \return its path
inline QString File(const char* name, const QByteArray& content)
{
    const QString path = File(name);
    QFile file(path);
    Check(file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(content) == content.size(),
          "the fuzzer can write its input");
    return path;
}

inline QByteArray Content(const QString& path)
{
    QFile file(path);
    Check(file.open(QIODevice::ReadOnly), "the fuzzer can read its file");
    return file.readAll();
}

} // namespace Fuzz

#endif // QVUTIL_FUZZSUPPORT_H
