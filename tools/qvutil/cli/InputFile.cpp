// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/InputFile.h"

#include "cli/Console.h"
#include "cli/Failure.h"
#include <qvutil/xml/XmlRules_p.h>

#include <qvutil/GeneralUtil.h>

#include <QFile>
#include <QFileInfo>

#include <cstdio>
#include <limits>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr qint64 kChunkSize = 1 << 16;

constexpr QStringView kTooLarge = u"larger than 1 GiB, the maximum size that the tool reads";

// Returns why a file could not be opened, with clearer wording where QFile's is unclear.
QString OpenError(const QFile& file)
{
    if (QFileInfo(file).isDir())
        return u"is a folder"_s;
    return file.errorString();
}

void CopyTo(QFile& from, QTemporaryFile& to, const QString& name, qint64 maximumSize)
{
    qint64 size = 0;
    if (!to.open())
        throw Failure(to.fileTemplate(), to.errorString());
    const bool isTyped = isatty(from.handle()) == 1;
    Console::ProgressBar bar(0);
    for (;;) {
        const QByteArray chunk = from.read(kChunkSize);
        if (chunk.isEmpty())
            break;
        size += chunk.size();
        if (size > maximumSize)
            throw Failure(name, kTooLarge.toString());
        if (to.write(chunk) != chunk.size())
            throw Failure(to.fileName(), to.errorString());
        if (!isTyped)
            bar.Show(size, name + u", "_s + Util::GeneralUtil::BytesToString(size, 1));
    }
    if (from.error() != QFileDevice::NoError)
        throw Failure(name, from.errorString());
    if (!to.flush())
        throw Failure(to.fileName(), to.errorString());
}

} // namespace

InputFile::InputFile(const QString& argument, Size size)
    : mPath(argument)
    , mName(argument)
{
    const qint64 maximumSize
        = size == AnySize ? std::numeric_limits<qint64>::max() : Util::Internal::kMaxFileSize;
    QFile file(argument);
    if (argument == "-"_L1) {
        mName = u"standard input"_s;
        if (!file.open(stdin, QIODevice::ReadOnly))
            throw Failure(mName, file.errorString());
    } else {
        if (argument.isEmpty())
            throw Failure(u"\"\""_s, u"the file name is empty"_s);
        if (!file.open(QIODevice::ReadOnly) || QFileInfo(argument).isDir())
            throw Failure(mName, OpenError(file));
        if (!file.isSequential()) {
            if (file.size() > maximumSize)
                throw Failure(mName, kTooLarge.toString());
            return;
        }
    }
    mCopy = std::make_unique<QTemporaryFile>();
    CopyTo(file, *mCopy, mName, maximumSize);
    mPath = mCopy->fileName();
}

QByteArray InputFile::ReadAll() const
{
    QFile file(mPath);
    if (!file.open(QIODevice::ReadOnly))
        throw Failure(mName, file.errorString());
    QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        throw Failure(mName, file.errorString());
    return bytes;
}

void RequireOneStandardInput(const QStringList& files)
{
    if (files.count(u"-"_s) > 1)
        throw UsageFailure(u"only one of the files can be standard input"_s);
}

} // namespace Quorvin::Tool
