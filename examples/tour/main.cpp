// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// A tour of the library with real documents. It prints each call that it makes, with the result.

#include "Sections.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace {
struct Section
{
    const char* Name;
    bool (*Show)(Transcript&, const Folders&);
};

constexpr Section kSections[] = {
    {"database", ShowDatabase},       {"values", ShowValues}, {"settings", ShowSettings},
    {"translation", ShowTranslation}, {"files", ShowFiles},   {"locales", ShowLocales},
    {"conditions", ShowConditions},
};

QString SectionNames()
{
    QStringList names;
    for (const Section& section : kSections) {
        names += QString::fromLatin1(section.Name);
    }
    return names.join(u", "_s);
}

// Returns the path of the system's database of file types, which is below /usr/share or Homebrew's prefix.
QString FindDatabase()
{
    const QString name = u"mime/packages/freedesktop.org.xml"_s;
    const QString found = QStandardPaths::locate(QStandardPaths::GenericDataLocation, name);
    if (!found.isEmpty()) {
        return found;
    }
    for (const QString& folder : {u"/usr/share/"_s, u"/opt/homebrew/share/"_s, u"/usr/local/share/"_s}) {
        if (QFile::exists(folder + name)) {
            return folder + name;
        }
    }
    return name;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);

    QCommandLineParser parser;
    parser.setApplicationDescription(u"Shows the library at work."_s);
    parser.addHelpOption();
    parser.addPositionalArgument(u"section"_s, u"What to show: "_s + SectionNames(), u"[section...]"_s);
    const QCommandLineOption database(u"database"_s, u"The system's database of file types."_s, u"file"_s,
                                      FindDatabase());
    const QCommandLineOption samples(u"samples"_s, u"The folder with the sample documents."_s, u"folder"_s,
                                     u"examples/data"_s);
    const QCommandLineOption work(u"work"_s, u"A folder to write to."_s, u"folder"_s, u"."_s);
    parser.addOptions({database, samples, work});
    parser.process(application);

    const Folders folders{parser.value(database), parser.value(samples), parser.value(work)};
    if (!QDir().mkpath(folders.Work)) {
        qCritical("The folder %s cannot be created", qUtf8Printable(folders.Work));
        return 2;
    }

    Transcript transcript;
    const QStringList wanted = parser.positionalArguments();
    bool good = true;
    for (const Section& section : kSections) {
        if (wanted.isEmpty() || wanted.contains(QLatin1String(section.Name))) {
            good = section.Show(transcript, folders) && good;
        }
    }
    return good ? 0 : 1;
}
