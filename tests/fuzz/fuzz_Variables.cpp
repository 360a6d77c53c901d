// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Resolves variables in the input, as text and in a document. The first line is the value of one variable.

#include "FuzzSupport.h"

#include <StringUtil.h>
#include <XmlFiler.h>

using namespace Quorvin::Util;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = Fuzz::Bytes(data, size);
    const qsizetype line = bytes.indexOf('\n');
    QString value = QString::fromUtf8(bytes.left(qMax<qsizetype>(line, 0)));
    value.remove(u'$'); // a value that refers to itself is a caller's error
    const QMap<QString, QString> variables{{QStringLiteral("Dir"), value},
                                           {QStringLiteral("empty"), QString()},
                                           {QStringLiteral("a)b"), QStringLiteral("x")}};
    const QString text = QString::fromUtf8(bytes.mid(line + 1));
    for (const bool ignoreCase : {false, true}) {
        QString resolved = text;
        const int count = StringUtil::ResolveVariables(resolved, variables, ignoreCase);
        Fuzz::Check(count >= 0 && (count > 0 || resolved == text), "without a substitution nothing changes");
    }
    XmlFiler filer;
    filer.CreateRoot(QStringLiteral("Root"));
    filer.WriteString(QStringLiteral("V"), text);
    filer.WriteNodeText(text);
    filer.WriteComment(text);
    QString once = text;
    const int count = StringUtil::ResolveVariables(once, variables, true);
    Fuzz::Check(filer.ResolveVariables(variables) == 2 * count, "attribute and text, not the comment");
    return 0;
}
