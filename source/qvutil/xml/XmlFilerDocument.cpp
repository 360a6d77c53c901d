// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "XmlFiler.h"

#include "base/Logging_p.h"
#include "platform/DebugOutput_p.h"
#include "platform/Platform_p.h"
#include "xml/XmlFilerPrivate_p.h"
#include "xml/XmlRules_p.h"
#include "xml/XmlWriter_p.h"

#include <QFile>

#include <cerrno>
#include <new>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

// Warns of a saved document that will not load, for example because of a space in a name, a second root
// element or "--" in a comment. Parses the document only if the warning would be logged.
void WarnOfUnreadableDocument(const QString& path, const QByteArray& document)
{
    if (!Internal::lcQvUtil().isWarningEnabled())
        return;
    const std::optional<Internal::XmlProblem> problem = Internal::FindXmlProblem(document);
    if (problem)
        qCWarning(Internal::lcQvUtil, "\"%ls\" is saved, but will not load again: line %lld: %ls",
                  qUtf16Printable(path), problem->Line, qUtf16Printable(problem->Reason));
}

void LogLoadError(const QString& name, const XmlLoadError& error)
{
    if (error.Line > 0)
        qCWarning(Internal::lcQvUtil, "%ls does not load: line %d, column %d: %ls", qUtf16Printable(name),
                  error.Line, error.Column, qUtf16Printable(error.Text));
    else
        qCWarning(Internal::lcQvUtil, "%ls does not load: %ls", qUtf16Printable(name),
                  qUtf16Printable(error.Text));
}

// Reads a whole file. Stops at the maximum size, because a device file may never end. Returns nullopt, with
// the reason, if the file is too large or cannot be read.
std::optional<QByteArray> ReadAll(QFile& file, XmlLoadError& error)
{
    constexpr qint64 kPieceSize = qint64{1024} * 1024;
    // The size is not reliable: a file may grow while it is read, or not be a regular file.
    QByteArray content;
    if (file.size() <= Internal::kMaxFileSize) {
        content.reserve(file.size() + 1);
        for (QByteArray piece = file.read(kPieceSize); !piece.isEmpty(); piece = file.read(kPieceSize)) {
            content += piece;
            if (content.size() > Internal::kMaxFileSize)
                break;
        }
    }
    if (file.size() > Internal::kMaxFileSize || content.size() > Internal::kMaxFileSize) {
        error.Text = u"it is larger than 1 GiB"_s;
        return std::nullopt;
    }
    if (file.error() != QFileDevice::NoError) {
        error.Text = file.errorString();
        return std::nullopt;
    }
    return content;
}

// Parses the text that read() returns, if any. After a failure, sets error and logs the reason.
template <typename Read>
bool Fill(QDomDocument& document, Read read, const QString& name, XmlLoadError& error)
{
    error = {};
    try {
        if (const auto xml = read(error)) {
            // FindXmlProblem takes a third of the parser's time, so it is only called if a limit may be
            // exceeded or the parser has found an error.
            const bool isSafe = Internal::IsSafeToParse(*xml);
            std::optional<Internal::XmlProblem> problem
                = isSafe ? std::nullopt : Internal::FindXmlProblem(*xml);
            if (!problem && document.setContent(*xml))
                return true;
            if (isSafe)
                problem = Internal::FindXmlProblem(*xml);
            const Internal::XmlProblem reason
                = problem.value_or(Internal::XmlProblem{.Reason = u"it is not well formed"_s});
            error = {reason.Reason, static_cast<int>(reason.Line), static_cast<int>(reason.Column)};
        }
    } catch (const std::bad_alloc&) {
        error = {u"not enough memory"_s, 0, 0};
    }
    LogLoadError(name, error);
    return false;
}

} // namespace

XmlFiler::XmlFiler()
    : mPrivate(std::make_unique<Private>(*this))
{ }

XmlFiler::~XmlFiler() = default;

// Documents

bool XmlFiler::LoadFromXmlFile(const QString& path)
{
    if (!QFile::exists(path)) {
        mPrivate->LoadError = {u"there is no such file"_s, 0, 0};
        LogLoadError(path, mPrivate->LoadError);
        return false;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        mPrivate->LoadError = {file.errorString(), 0, 0};
        GeneralUtil::OutputDebugString(u"XmlFiler: Failed to open file %1. %2 (Error code: %3)"_s.arg(path)
                                           .arg(file.errorString())
                                           .arg(static_cast<int>(file.error())));
        // The message above is enough if debug messages are logged.
        if (!Platform::HasDebugOutput() || !Internal::lcQvUtil().isDebugEnabled())
            LogLoadError(path, mPrivate->LoadError);
        return false;
    }
    RemoveContent();
    const auto read = [&file](XmlLoadError& error) { return ReadAll(file, error); };
    if (!FinishLoad(Fill(mDocument, read, path, mPrivate->LoadError)))
        return false;
    mFilePath = path;
    return true;
}

bool XmlFiler::LoadFromXmlString(const QString& xml)
{
    RemoveContent();
    const auto read = [&xml](XmlLoadError&) { return std::optional(xml); };
    return FinishLoad(Fill(mDocument, read, u"a text"_s, mPrivate->LoadError));
}

XmlLoadError XmlFiler::GetLoadError() const
{
    return mPrivate->LoadError;
}

void XmlFiler::RemoveContent()
{
    RemoveChildren(mDocument);
    mPrivate->Paths.Invalidate();
}

bool XmlFiler::FinishLoad(bool loaded)
{
    if (loaded) {
        MoveToRoot();
    } else {
        // Qt 6.4 keeps what it parsed before the error; parsing an empty text also clears the document type.
        static_cast<void>(mDocument.setContent(QString()));
        mPrivate->Paths.Invalidate(); // a message handler may have read by path meanwhile
    }
    return loaded;
}

bool XmlFiler::SaveAsXmlFile(const QString& path)
{
    if (IsEmpty()) {
        qCWarning(Internal::lcQvUtil, "%ls is not saved: the document has no root element",
                  qUtf16Printable(path));
        return false;
    }
    const QByteArray content = Internal::WriteXmlFile(mDocument);
    errno = 0;
    if (!Platform::ReplaceFile(path, content)) {
        const int error = errno;
        qCWarning(Internal::lcQvUtil, "%ls is not saved: %ls", qUtf16Printable(path),
                  qUtf16Printable(error != 0 ? qt_error_string(error) : u"this is not a file name"_s));
        return false;
    }
    WarnOfUnreadableDocument(path, content);
    return true;
}

QString XmlFiler::SaveAsXmlString()
{
    return IsEmpty() ? QString() : Internal::WriteXmlString(mDocument);
}

bool XmlFiler::IsEmpty() const
{
    // A document with an empty root element is not empty.
    return mDocument.documentElement().isNull();
}

void XmlFiler::Reset()
{
    SetCursor({});
    if (mNodeStack.contains(mDocument))
        mPrivate->Detached.KeepIfHeld(mDocument, mDocument);
    else
        RemoveChildren(mDocument);
    mDocument.clear();
    mPrivate->Paths.Invalidate();
}

void XmlFiler::CreateXmlDeclaration()
{
    const QDomNode declaration = mDocument.namedItem(u"xml"_s);
    if (!declaration.isProcessingInstruction())
        CreateProcessingInstruction(u"xml"_s, u"version=\"1.0\""_s);
}

void XmlFiler::CreateProcessingInstruction(const QString& target, const QString& data)
{
    const QDomNode instruction = mDocument.createProcessingInstruction(target, data);
    const QDomElement root = mDocument.documentElement();
    if (root.isNull())
        mDocument.appendChild(instruction);
    else
        mDocument.insertBefore(instruction, root);
}

void XmlFiler::CreateRoot(const QString& name)
{
    if (!mDocument.documentElement().isNull())
        return;
    CreateXmlDeclaration();
    CreateOrMoveToNode(name.isEmpty() ? u"Root"_s : name, true, false);
}

} // namespace Quorvin::Util
