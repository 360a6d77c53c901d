// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Reads the input as an XLIFF file.

#include "FuzzSupport.h"

#include <XmlFiler.h>

using namespace Quorvin::Util;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString path = Fuzz::File("texts.xlf", Fuzz::Bytes(data, size));
    const XlfTranslator translator(path);
    for (const char* text : {"Save", "Open", ""}) {
        const QString source = QString::fromLatin1(text);
        for (const char* context : {"/ui/main.xml", "MAIN.XML", "other.xml", ""}) {
            const QString translation = translator.Translate(source, QString::fromLatin1(context));
            Fuzz::Check(source.isEmpty() || !translation.isEmpty(), "a text never becomes empty");
            Fuzz::Check(translation == translator.Translate(source, QString::fromLatin1(context)),
                        "the same question has the same answer");
        }
    }
    return 0;
}
