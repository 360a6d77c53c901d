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

    const QString opened = Fuzz::File("opened.xml", bytes);
    {
        Settings settings;
        const Settings::FileState state = settings.OpenFile(opened, QStringLiteral("Settings"));
        Fuzz::Check(state == Settings::FileState::Loaded || state == Settings::FileState::SetAside,
                    "a file that can be read is loaded or renamed");
        const bool isDamaged = state == Settings::FileState::SetAside;
        const QString kept = isDamaged ? settings.GetSetAsideFile() : opened;
        Fuzz::Check(Fuzz::Content(kept) == bytes, "opening keeps the content");
        settings.WriteInt(node, name, 42);
        if (isDamaged) {
            Fuzz::Check(Fuzz::Content(kept) == bytes, "a save keeps the damaged file");
            QFile::remove(kept);
            Settings again;
            Fuzz::Check(again.OpenFile(opened, QStringLiteral("Settings")) == Settings::FileState::Loaded
                            && again.ReadInt(node, name, 0) == 42,
                        "the new file loads");
        }
    }
    return 0;
}
