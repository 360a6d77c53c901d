// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Opens the input as a settings file: opening must not change it, and a change must be saved.

#include "FuzzSupport.h"

#include <XmlFiler.h>

using namespace Quorvin::Util;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = Fuzz::Bytes(data, size);
    const QString path = Fuzz::File("settings.xml", bytes);
    const QString node = QStringLiteral("/Panel/Main");
    const QString name = QStringLiteral("Width");
    {
        Settings settings(path, QStringLiteral("Settings"));
        (void)settings.ReadInt(node, name, 0);
        (void)settings.ReadBoolean(node, name, false);
        (void)settings.ReadString(node, name, QString());
        (void)settings.ReadDate(node, name, QDateTime());
        (void)settings.ReadNodeText(node);
        settings.Save();
    }
    Fuzz::Check(Fuzz::Content(path) == bytes, "reading leaves the file as it was");
    {
        Settings settings(path, QStringLiteral("Settings"));
        settings.WriteInt(node, name, 42);
        Fuzz::Check(settings.ReadInt(node, name, 0) == 42, "what was written is read");
    }
    if (size != 0)
        Fuzz::Check(Fuzz::Content(path) != bytes || bytes.contains("42"), "a change is saved");
    return 0;
}
