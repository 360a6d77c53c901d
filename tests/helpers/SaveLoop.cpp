// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Saves documents for tst_SaveSafety, which kills it or runs it without root privileges.
//
//   SaveLoop loop FILE              saves the documents in turn, endlessly; prints a line when it begins
//   SaveLoop settings FILE          the same with Settings instead of XmlFiler
//   SaveLoop count FILE COUNT       saves COUNT times; fails if a save fails
//   SaveLoop save FILE NUMBER       saves one document; the exit code is 0 for true, 1 for false
//   SaveLoop once FILE NUMBER       the same, but stops itself (SIGSTOP) before and after the save
//   SaveLoop overwrite FILE         opens a file with Settings and changes it; prints whether it was empty
//   SaveLoop open FILE              the same with Settings::OpenFile; prints the state that it returns
//
// With --user UID before the command, it runs as that user.

#include "support/SaveLoopDocuments.h"

#include <XmlFiler.h>

#include <QFile>
#include <QString>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>

#include <grp.h>
#include <unistd.h>

using namespace Quorvin::Util;

namespace {
using Documents = std::array<XmlFiler, SaveLoopDocuments::kSizes.size()>;

constexpr int kUsage = 2;

void FillAll(Documents& documents)
{
    for (size_t i = 0; i < documents.size(); ++i)
        SaveLoopDocuments::Fill(documents[i], i);
}

void PrintReady()
{
    std::puts("ready");
    std::fflush(stdout);
}

// Starts with the largest document, because saving it takes longest.
size_t DocumentAt(size_t i)
{
    constexpr size_t kCount = SaveLoopDocuments::kSizes.size();
    return kCount - 1 - i % kCount;
}

bool BecomeUser(uid_t user)
{
    return setgroups(0, nullptr) == 0 && setgid(user) == 0 && setuid(user) == 0;
}

int Loop(const QString& file)
{
    Documents documents;
    FillAll(documents);
    for (size_t i = 0;; ++i) {
        if (!documents.at(DocumentAt(i)).SaveAsXmlFile(file))
            return EXIT_FAILURE;
        if (i == 0)
            PrintReady();
    }
}

int LoopSettings(const QString& file)
{
    std::array<Settings, SaveLoopDocuments::kSizes.size()> stores;
    for (size_t i = 0; i < stores.size(); ++i) {
        SaveLoopDocuments::Fill(stores.at(i), i);
        stores.at(i).MoveToRoot();
    }
    // The file does not exist yet, so setting it keeps the content of the stores.
    for (Settings& store : stores)
        store.SetFile(file, QString());
    for (size_t i = 0;; ++i) {
        stores.at(DocumentAt(i)).SaveInternal();
        if (i == 0)
            PrintReady();
    }
}

int Count(const QString& file, int count)
{
    Documents documents;
    FillAll(documents);
    PrintReady();
    for (int i = 0; i < count; ++i) {
        if (!documents.at(static_cast<size_t>(i) % documents.size()).SaveAsXmlFile(file))
            return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}

int Save(const QString& file, int number, bool stopped)
{
    XmlFiler document;
    SaveLoopDocuments::Fill(document, static_cast<size_t>(number));
    if (stopped)
        std::raise(SIGSTOP);
    const bool saved = document.SaveAsXmlFile(file);
    if (stopped)
        std::raise(SIGSTOP);
    return saved ? EXIT_SUCCESS : EXIT_FAILURE;
}

int Overwrite(const QString& file)
{
    Settings settings(file, QStringLiteral("Settings"));
    std::puts(settings.IsEmpty() ? "empty" : "loaded");
    settings.WriteInt(QStringLiteral("/New"), QStringLiteral("V"), 1);
    return EXIT_SUCCESS;
}

int Open(const QString& file)
{
    Settings settings;
    switch (settings.OpenFile(file, QStringLiteral("Settings"))) {
    case Settings::FileState::New:
        std::puts("new");
        break;
    case Settings::FileState::Loaded:
        std::puts("loaded");
        break;
    case Settings::FileState::SetAside:
        std::puts("set aside");
        break;
    case Settings::FileState::Unreadable:
        std::puts("unreadable");
        break;
    }
    settings.WriteInt(QStringLiteral("/New"), QStringLiteral("V"), 1);
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char* argv[])
{
    std::span<char*> arguments(argv + 1, static_cast<size_t>(argc - 1));
    if (arguments.size() > 2 && std::strcmp(arguments[0], "--user") == 0) {
        if (!BecomeUser(static_cast<uid_t>(std::atoi(arguments[1]))))
            return kUsage;
        arguments = arguments.subspan(2);
    }
    if (arguments.size() < 2)
        return kUsage;

    const QByteArray command(arguments[0]);
    const QString file = QFile::decodeName(arguments[1]);
    const int number = arguments.size() > 2 ? std::atoi(arguments[2]) : 0;
    if (command == "loop")
        return Loop(file);
    if (command == "settings")
        return LoopSettings(file);
    if (command == "count")
        return Count(file, number);
    if (command == "save" || command == "once")
        return Save(file, number, command == "once");
    if (command == "overwrite")
        return Overwrite(file);
    if (command == "open")
        return Open(file);
    return kUsage;
}
