// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "XmlText.h"

//! [text]
QString XmlText(const QString& text)
{
    QString allowed;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            allowed += c; // both halves of a surrogate pair
            allowed += text[++i];
        } else if (c == u'\t' || c == u'\n' || c == u'\r'
                   || (c >= u' ' && c <= u'\ufffd' && !c.isSurrogate())) {
            allowed += c;
        }
    }
    return allowed;
}
//! [text]
