// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "XmlFiler.h"

#include "base/Logging_p.h"

#include <QFileInfo>

#include <utility>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

// Reads the unit under the cursor and all its following siblings.
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

// Caches the context of the last call and its units, because the texts of a document are translated one after
// another. The units share the data of the table. Null while nothing is cached.
struct XlfTranslator::Private
{
    QString Context;
    Units ContextUnits;
};

XlfTranslator::XlfTranslator() = default;

XlfTranslator::~XlfTranslator() = default;

// The cache is not copied.
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
    // mParsed is kept on purpose: a different file needs a new object.
}

void XlfTranslator::ParseXlfFile()
{
    Parse();
}

void XlfTranslator::Parse() const
{
    XmlFiler filer;
    if (!filer.LoadFromXmlFile(mXlfFile))
        return; // the load has logged the reason
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
    else if (!mTable.isEmpty()) // without a file name, only the last document is used
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
