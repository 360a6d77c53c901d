// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Converts locale names, and compares paths.

#include <qvutil/GeneralUtil.h>
#include <qvutil/LocaleUtil.h>

#include <QTextStream>

using namespace Qt::StringLiterals;
using Quorvin::Util::GeneralUtil;
using Quorvin::Util::LocaleUtil;

int main()
{
    QTextStream out(stdout);

    //! [locales]
    out << LocaleUtil::LocaleNameToLCID(u"en-gb"_s) << '\n';
    out << LocaleUtil::LCIDToLocaleName(0x0411) << '\n';
    out << LocaleUtil::LocaleNameToThreeLetterLocaleName(u"pt-PT"_s) << '\n';
    out << LocaleUtil::LocaleNameToDisplayName(u"de-AT"_s) << '\n';
    // There is no fallback from a region to its language.
    out << LocaleUtil::LocaleNameToDisplayName(u"de-XX"_s).isEmpty() << '\n';
    //! [locales]

    //! [paths]
    out << GeneralUtil::CleanPath(u"C:\\work\\..\\data\\"_s) << '\n';
    out << GeneralUtil::CleanPath(u"/Users/ada/notes/"_s) << '\n';
    out << GeneralUtil::RelativeToAbsolutePath(u"icons/open.png"_s, u"/opt/app/ui.xml"_s, true) << '\n';
    out << GeneralUtil::IsParentPath(u"Projects/Moon"_s, u"projects/moon/lander"_s) << '\n';
    out << GeneralUtil::GetCommonParentPath(u"/Users/ada/notes"_s, u"/users/Ada/maps"_s) << '\n';
    out << GeneralUtil::GetSubPath(u"a/b"_s, u"a/b/c/d"_s) << '\n';
    //! [paths]
    return 0;
}
