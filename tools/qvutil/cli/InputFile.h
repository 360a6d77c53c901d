// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_INPUTFILE_H
#define QVUTIL_TOOL_INPUTFILE_H

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryFile>

#include <memory>

namespace Quorvin::Tool {

/// Reads a file argument: a file, "-" for standard input, or a pipe such as the shell's <(…). Input that
/// cannot be read twice is first copied to a temporary file, so that errors in it can be located.
class InputFile
{
public:
    enum Size {
        DocumentSize, ///< rejects files above the maximum size of a document
        AnySize,
    };

    /// Throws Failure if the file cannot be read.
    explicit InputFile(const QString& argument, Size size = DocumentSize);

    /// Returns the path of the file to read.
    [[nodiscard]] const QString& Path() const { return mPath; }
    /// Returns the input's name for messages.
    [[nodiscard]] const QString& Name() const { return mName; }
    /// Returns all bytes. Throws Failure if they cannot be read.
    [[nodiscard]] QByteArray ReadAll() const;
    /// Returns whether Path is a copy of the input.
    [[nodiscard]] bool IsCopy() const { return mCopy != nullptr; }

private:
    QString mPath;
    QString mName;
    std::unique_ptr<QTemporaryFile> mCopy;
};

/// Throws UsageFailure if more than one of a command's files is standard input, which can be read only once.
void RequireOneStandardInput(const QStringList& files);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_INPUTFILE_H
