// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_INPUTFILE_H
#define QVUTIL_TOOL_INPUTFILE_H

#include <QByteArray>
#include <QString>
#include <QTemporaryFile>

#include <memory>

namespace Quorvin::Tool {

/// A file argument that is read: a file, "-" for standard input, or a pipe such as the shell's <(…).
/// What cannot be read twice is copied to a temporary file first, so that errors in it can be located.
class InputFile
{
public:
    enum Size {
        DocumentSize, ///< what is larger than a document can be is not read
        AnySize,
    };

    /// Throws Failure if the file cannot be read.
    explicit InputFile(const QString& argument, Size size = DocumentSize);

    /// The file to read.
    [[nodiscard]] const QString& Path() const { return mPath; }
    /// How to call it in messages.
    [[nodiscard]] const QString& Name() const { return mName; }
    /// All of its bytes. Throws Failure if they cannot be read.
    [[nodiscard]] QByteArray ReadAll() const;
    /// Whether Path is a copy of what was read.
    [[nodiscard]] bool IsCopy() const { return mCopy != nullptr; }

private:
    QString mPath;
    QString mName;
    std::unique_ptr<QTemporaryFile> mCopy;
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_INPUTFILE_H
