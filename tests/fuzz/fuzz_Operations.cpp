// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Interprets the input as operations on one document. No sequence of operations may access freed memory.

#include "FuzzSupport.h"

#include <XmlFiler.h>

#include <array>

using namespace Quorvin::Util;

namespace {

const std::array<QString, 8>& Paths()
{
    static const std::array<QString, 8> paths{
        QStringLiteral("A"),
        QStringLiteral("B"),
        QStringLiteral("A/B"),
        QStringLiteral("/A/B"),
        QStringLiteral("/"),
        QStringLiteral("Root"),
        QString(),
        QStringLiteral("/Root/B/A"),
    };
    return paths;
}

void Act(XmlFiler& filer, uint8_t code)
{
    const QString& path = Paths().at(code & 7U);
    const QString name = QStringLiteral("V");
    switch (code >> 3U) {
    case 0:
        filer.MoveToRoot();
        break;
    case 1:
        filer.MoveToFirstChild();
        break;
    case 2:
        filer.MoveToNextSibling();
        break;
    case 3:
        filer.MoveToParent();
        break;
    case 4:
        filer.MoveToNode(path);
        break;
    case 5:
        filer.MoveToImmediateChildNode(path);
        break;
    case 6:
        filer.CreateNode(path, true);
        break;
    case 7:
        filer.CreateNode(path, false);
        break;
    case 8:
        filer.CreateImmediateChildNode(path.isEmpty() ? name : path.right(1));
        break;
    case 9:
        filer.DeleteNode();
        break;
    case 10:
        filer.DeleteNode(path);
        break;
    case 11:
        filer.DeleteChildNodes();
        break;
    case 12:
        filer.DeleteChildNodes(path);
        break;
    case 13:
        filer.PushCurrentNode();
        break;
    case 14:
        filer.PopCurrentNode(); // fails if the stack is empty
        break;
    case 15:
        filer.Reset();
        break;
    case 16:
        filer.CreateRoot(path);
        break;
    case 17:
        filer.CreateXmlDeclaration();
        break;
    case 18:
        filer.LoadFromXmlString(QStringLiteral("<Root><A><B/></A><B/></Root>"));
        break;
    case 19:
        filer.LoadFromXmlString(QStringLiteral("<Root><A><B/></A"));
        break;
    case 20:
        filer.WriteInnerXml(QStringLiteral("text<A/><B><A/></B>"));
        break;
    case 21:
        filer.WriteInnerXml(path, QStringLiteral("<A/>"));
        break;
    case 22:
        filer.WriteInt(name, 1);
        break;
    case 23:
        filer.WriteInt(path, name, 1);
        break;
    case 24:
        (void)filer.ReadInt(path, name, 0);
        break;
    case 25:
        filer.WriteNodeText(path, name);
        break;
    case 26:
        filer.WriteBuffer(path, QByteArray("x"));
        break;
    case 27:
        filer.WriteComment(path, name);
        break;
    case 28:
        (void)filer.ReadOuterXml(path);
        break;
    case 29:
        (void)filer.GetCurrentNodePath();
        break;
    case 30:
        (void)filer.SaveAsXmlString();
        break;
    default:
        filer.CreateProcessingInstruction(QStringLiteral("pi"), name);
        break;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr size_t kMaxOperations = 200; // limits the size of the document
    XmlFiler filer;
    for (size_t i = 0; i < qMin(size, kMaxOperations); ++i)
        Act(filer, data[i]);
    return 0;
}
