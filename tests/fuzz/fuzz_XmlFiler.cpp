// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Reads the input as a document: from a file, from text, and as markup that is inserted into another
// document.

#include "FuzzSupport.h"

#include <XmlFiler.h>

using namespace Quorvin::Util;

namespace {

/// Reads everything in a document.
void Visit(XmlFiler& filer)
{
    do {
        (void)filer.GetCurrentNodePath();
        (void)filer.ReadNodeText();
        (void)filer.ReadBuffer();
        for (const char* name : {"a", "id", "Width"}) {
            const QString attribute = QString::fromLatin1(name);
            (void)filer.ReadString(attribute, QString());
            (void)filer.ReadInt(attribute, 0);
            (void)filer.ReadBoolean(attribute, false);
            (void)filer.ReadDouble(attribute, 0.0);
            (void)filer.ReadRect(attribute, QRect());
            (void)filer.ReadSize(attribute, QSize());
            (void)filer.ReadDate(attribute, QDateTime());
        }
        if (filer.MoveToFirstChild())
            continue;
        while (!filer.MoveToNextSibling()) {
            if (!filer.MoveToParent())
                return;
        }
    } while (true);
}

void UseDocument(XmlFiler& filer)
{
    Visit(filer);
    filer.MoveToRoot();
    (void)filer.SaveAsXmlString();
    (void)filer.ReadInnerXml();
    (void)filer.ReadOuterXml();
    filer.WriteInt(QStringLiteral("New/Path"), QStringLiteral("V"), 1);
    filer.DeleteChildNodes();
    Fuzz::Check(filer.SaveAsXmlFile(Fuzz::File("copy.xml")), "a document with a root can be saved");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = Fuzz::Bytes(data, size);
    const QString path = Fuzz::File("input.xml", bytes);
    {
        XmlFiler filer;
        const bool loaded = filer.LoadFromXmlFile(path);
        Fuzz::Check(loaded == !filer.IsEmpty(), "a document is there if and only if it was loaded");
        if (loaded)
            UseDocument(filer);
    }
    for (const QString& text : {QString::fromUtf8(bytes), Fuzz::Utf16(bytes)}) {
        XmlFiler filer;
        if (filer.LoadFromXmlString(text))
            UseDocument(filer);
        XmlFiler other;
        other.CreateRoot(QStringLiteral("Root"));
        (void)other.WriteInnerXml(text);
        (void)other.SaveAsXmlString();
    }
    return 0;
}
