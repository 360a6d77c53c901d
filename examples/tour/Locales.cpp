// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Sections.h"

#include <qvutil/LocaleUtil.h>

using namespace Qt::StringLiterals;
using Quorvin::Util::LocaleUtil;

bool ShowLocales(Transcript& transcript, const Folders& /*folders*/)
{
    transcript.Heading(u"Locales"_s);

    //! [locales]
    SHOW(transcript, LocaleUtil::GetCurrentUserLocale());
    SHOW(transcript, qint64(LocaleUtil::LocaleNameToLCID(u"en-gb"_s)));
    SHOW(transcript, LocaleUtil::LCIDToLocaleName(0x0411));
    SHOW(transcript, LocaleUtil::LocaleNameToThreeLetterLocaleName(u"pt-PT"_s));
    SHOW(transcript, LocaleUtil::LocaleNameToDisplayName(u"de-AT"_s));
    transcript.Note(u"there is no fallback from a region to its language"_s);
    SHOW(transcript, LocaleUtil::LocaleNameToDisplayName(u"de-XX"_s));
    //! [locales]
    return LocaleUtil::LCIDToLocaleName(0x0411) == "ja-JP"_L1;
}
