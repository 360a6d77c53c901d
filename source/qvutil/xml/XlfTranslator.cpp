// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "XmlFiler.h"

#include "base/Logging_p.h"

#include <QFileInfo>

#include <utility>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

// Reads the unit under the cursor and all that follow it.
template <typename Units> Units ReadUnits(XmlFiler& filer)
{
    Units units;
    do {
        const QString id = filer.ReadString(u"id"_s, QString());
        const QString target = filer.ReadNodeText(u"target"_s);
        units.insert(id.toUtf8(), target.isEmpty() ? id : target);
    } while (filer.MoveToNextSibling());
    return units;
}

} // namespace

// The context asked about last and its units, since a document's texts come one after another. The units
// share those of the table. There is no such object while nothing is cached.
struct XlfTranslator::Private
{
    QString Context;
    Units ContextUnits;
};

XlfTranslator::XlfTranslator() = default;

XlfTranslator::~XlfTranslator() = default;

// A copy begins without the cache.
XlfTranslator::XlfTranslator(const XlfTranslator& other)
    : mXlfFile(other.mXlfFile)
    , mTable(other.mTable)
    , mParsed(other.mParsed)
{ }

XlfTranslator::XlfTranslator(XlfTranslator&& other) noexcept = default;

XlfTranslator& XlfTranslator::operator=(const XlfTranslator& other)
{
    return *this = XlfTranslator(other);
}

XlfTranslator& XlfTranslator::operator=(XlfTranslator&& other) noexcept = default;

XlfTranslator::XlfTranslator(const QString& file)
{
    SetXlfFile(file);
}

void XlfTranslator::SetXlfFile(const QString& file)
{
    if (file.compare(mXlfFile, Qt::CaseInsensitive) == 0)
        return;
    mTable.clear();
    mPrivate.reset();
    mXlfFile = file;
    // That the first file counts as parsed stays: another one needs another object.
}

void XlfTranslator::ParseXlfFile()
{
    Parse();
}

void XlfTranslator::Parse() const
{
    XmlFiler filer;
    if (!filer.LoadFromXmlFile(mXlfFile))
        return; // the load has logged why
    if (!filer.MoveToFirstChild()) {
        qCWarning(Internal::lcQvUtil, "%ls holds no translations", qUtf16Printable(mXlfFile));
        return;
    }
    mPrivate.reset();
    do {
        const QString name = QFileInfo(filer.ReadString(u"original"_s, QString())).fileName();
        if (name.isEmpty())
            continue;
        filer.PushCurrentNode();
        // The body, which must come first, and its first unit.
        if (filer.MoveToFirstChild() && filer.MoveToFirstChild())
            mTable.insert(name.toLower(), ReadUnits<Units>(filer));
        filer.PopCurrentNode();
    } while (filer.MoveToNextSibling());
    if (mTable.isEmpty())
        qCWarning(Internal::lcQvUtil, "%ls holds no translations", qUtf16Printable(mXlfFile));
}

const XlfTranslator::Units& XlfTranslator::FindUnits(const QString& context) const
{
    if (mPrivate != nullptr && mPrivate->Context == context)
        return mPrivate->ContextUnits;
    const QString name = QFileInfo(context).fileName();
    Units units;
    if (!name.isEmpty())
        units = mTable.value(name.toLower());
    else if (!mTable.isEmpty()) // without a file name the last document answers, and it alone
        units = mTable.last();
    mPrivate = std::make_unique<Private>(Private{context, units});
    return mPrivate->ContextUnits;
}

QString XlfTranslator::Translate(const QString& text, const QString& context) const
{
    if (!std::exchange(mParsed, true))
        Parse();
    const Units& units = FindUnits(context);
    const QString translation = units.isEmpty() ? QString() : units.value(GeneralUtil::GetHash(text));
    return translation.isEmpty() ? text : translation;
}

} // namespace Quorvin::Util
