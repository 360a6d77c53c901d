// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Language.h"

#include <qvutil/GeneralUtil.h>
#include <qvutil/LocaleUtil.h>

#include <QCoreApplication>
#include <QLibraryInfo>

using namespace Qt::StringLiterals;
using Quorvin::Util::GeneralUtil;
using Quorvin::Util::LocaleUtil;
using Quorvin::Util::XlfTranslator;

namespace {

struct Choice
{
    QLatin1StringView Code;
    QLatin1StringView LocaleName; // used if the user's own locale has another language
};

constexpr Choice kChoices[] = {{"en"_L1, "en-US"_L1}, {"de"_L1, "de-DE"_L1}, {"ja"_L1, "ja-JP"_L1}};

// The user's own locale if it has the chosen language ("de-AT" for "de"), otherwise the default one.
QString LocaleNameFor(const Choice& choice)
{
    const QString own = LocaleUtil::GetCurrentUserLocale();
    return own.section(u'-', 0, 0) == choice.Code ? own : QString(choice.LocaleName);
}

Choice FindChoice(const QString& code)
{
    for (const Choice& choice : kChoices) {
        if (choice.Code == code)
            return choice;
    }
    return kChoices[0];
}

} // namespace

Language::Language(QString dataFolder, QObject* parent)
    : QObject(parent)
    , mDataFolder(std::move(dataFolder))
{
    Select({});
}

//! [select]
void Language::Select(const QString& code)
{
    const Choice choice
        = FindChoice(code.isEmpty() ? LocaleUtil::GetCurrentUserLocale().section(u'-', 0, 0) : code);
    mCode = choice.Code;
    mLocale = QLocale(LocaleNameFor(choice));

    // Documents point to the old translator until they have received Changed, so it is deleted afterwards.
    const std::unique_ptr<XlfTranslator> old = std::move(mTranslator);
    if (mCode != "en"_L1)
        mTranslator = std::make_unique<XlfTranslator>(mDataFolder + u"/Waypost.%1.xlf"_s.arg(mCode));
    InstallQtTranslations();
    Q_EMIT Changed();
}
//! [select]

//! [qt]
// Some texts belong to Qt, such as the buttons of file dialogs. A QTranslator loads Qt's translations of
// them; the documents keep their XlfTranslator.
void Language::InstallQtTranslations()
{
    QCoreApplication::removeTranslator(&mQtTexts);
    if (mQtTexts.load(u"qtbase_"_s + mCode, QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(&mQtTexts);
}
//! [qt]

//! [find]
QString Language::FindFile(const QString& name, const QString& folder) const
{
    const Choice& choice = FindChoice(mCode);
    // FindLocaleFile does not fall back, so try de-AT, then de-DE, then en-US.
    for (const QString& locale : {LocaleNameFor(choice), QString(choice.LocaleName), u"en-US"_s}) {
        const QString file = GeneralUtil::FindLocaleFile(name, locale, folder);
        if (!file.isEmpty())
            return file;
    }
    return {};
}
//! [find]
