// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/XmlSource.h"

#include "cli/Failure.h"
#include "documents/DocumentFile.h"

#include <QRegularExpression>
#include <QStringConverter>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

bool IsXmlSpace(QChar c)
{
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r';
}

/// Walks over the markup of a text that is known to be well formed, and notes its elements and attributes.
class Scanner
{
public:
    Scanner(QStringView text, QList<XmlSource::Element>& elements, QList<XmlSource::Attribute>& attributes)
        : mText(text)
        , mElements(elements)
        , mAttributes(attributes)
    { }

    void Run()
    {
        while ((mPosition = mText.indexOf(u'<', mPosition)) >= 0) {
            const QStringView rest = mText.mid(mPosition);
            if (rest.startsWith("<!--"_L1))
                SkipPast(u"-->");
            else if (rest.startsWith("<![CDATA["_L1))
                SkipPast(u"]]>");
            else if (rest.startsWith("<?"_L1))
                SkipPast(u"?>");
            else if (rest.startsWith("<!"_L1))
                SkipDocumentType();
            else if (rest.startsWith("</"_L1))
                ReadEndTag();
            else
                ReadStartTag();
        }
    }

private:
    void SkipPast(QStringView end)
    {
        const qsizetype found = mText.indexOf(end, mPosition);
        mPosition = found < 0 ? mText.size() : found + end.size();
    }

    /// Quotes and comments inside the declaration may hold any bracket.
    void SkipDocumentType()
    {
        int depth = 0;
        while (mPosition < mText.size()) {
            const QChar c = mText.at(mPosition);
            if (c == u'"' || c == u'\'') {
                ++mPosition;
                SkipPast(QStringView(&c, 1));
                continue;
            }
            if (mText.mid(mPosition).startsWith("<!--"_L1)) {
                SkipPast(u"-->");
                continue;
            }
            if (mText.mid(mPosition).startsWith("<?"_L1)) {
                SkipPast(u"?>");
                continue;
            }
            ++mPosition;
            if (c == u'<')
                ++depth;
            else if (c == u'>' && --depth == 0)
                return;
        }
    }

    void ReadEndTag()
    {
        const qsizetype begin = mPosition;
        SkipPast(u">");
        if (mOpen.isEmpty())
            return;
        XmlSource::Element& element = mElements[mOpen.takeLast()];
        element.ContentEnd = begin;
        element.End = mPosition;
    }

    void SkipSpace()
    {
        while (mPosition < mText.size() && IsXmlSpace(mText.at(mPosition)))
            ++mPosition;
    }

    QStringView ReadName()
    {
        const qsizetype begin = mPosition;
        while (mPosition < mText.size()) {
            const QChar c = mText.at(mPosition);
            if (IsXmlSpace(c) || c == u'=' || c == u'/' || c == u'>')
                break;
            ++mPosition;
        }
        return mText.mid(begin, mPosition - begin);
    }

    void ReadStartTag()
    {
        XmlSource::Element element;
        element.Begin = mPosition++;
        element.Parent = mOpen.isEmpty() ? -1 : mOpen.constLast();
        element.Name = ReadName();
        element.FirstAttribute = mAttributes.size();
        SkipSpace();
        while (mPosition < mText.size() && mText.at(mPosition) != u'>' && mText.at(mPosition) != u'/') {
            ReadAttribute();
            SkipSpace();
        }
        element.AttributeCount = mAttributes.size() - element.FirstAttribute;
        const bool selfClosing = mPosition < mText.size() && mText.at(mPosition) == u'/';
        SkipPast(u">");
        element.TagEnd = element.ContentEnd = element.End = mPosition;
        if (!selfClosing)
            mOpen.append(static_cast<int>(mElements.size()));
        mElements.append(element);
    }

    void ReadAttribute()
    {
        XmlSource::Attribute attribute;
        attribute.Begin = mPosition;
        attribute.Name = ReadName();
        SkipSpace();
        ++mPosition; // '='
        SkipSpace();
        if (mPosition >= mText.size())
            return;
        const QChar quote = mText.at(mPosition++);
        attribute.ValueBegin = mPosition;
        SkipPast(QStringView(&quote, 1));
        attribute.ValueEnd = mPosition - 1;
        mAttributes.append(attribute);
    }

    QStringView mText;
    QList<XmlSource::Element>& mElements;
    QList<XmlSource::Attribute>& mAttributes;
    QList<int> mOpen;
    qsizetype mPosition = 0;
};

/// The encoding that a file names in its declaration; UTF-8 if it names none.
QByteArray DeclaredEncoding(const QByteArray& content)
{
    static const QRegularExpression pattern(uR"(^<\?xml[^>]*\sencoding\s*=\s*["']([A-Za-z0-9._-]+)["'])"_s);
    const QRegularExpressionMatch match = pattern.match(QString::fromLatin1(content.left(200)));
    return match.hasMatch() ? match.captured(1).toLatin1() : QByteArrayLiteral("UTF-8");
}

bool IsUnicodeEncoding(const QByteArray& name)
{
    return name.toUpper().startsWith("UTF-");
}

} // namespace

XmlSource::XmlSource()
    : mFiler(std::make_unique<Util::XmlFiler>())
{ }

void XmlSource::Load(const InputFile& file)
{
    LoadDocument(*mFiler, file);
    if (!Decode(file.ReadAll()))
        throw Failure(file.Name(), u"the encoding %1 is not known"_s.arg(QString::fromLatin1(mEncoding)));
    Scan();
}

bool XmlSource::LoadText(const QString& text)
{
    if (!mFiler->LoadFromXmlString(text))
        return false;
    mText = text;
    mEncoding = QByteArrayLiteral("UTF-8");
    Scan();
    return true;
}

bool XmlSource::Decode(const QByteArray& content)
{
    const std::optional<QStringConverter::Encoding> marked = QStringConverter::encodingForData(content, u'<');
    mEncoding = marked ? QByteArray(QStringConverter::nameForEncoding(*marked)) : DeclaredEncoding(content);
    mUnicode = IsUnicodeEncoding(mEncoding);
    QStringDecoder decoder(mEncoding.constData(), QStringConverter::Flag::ConvertInitialBom);
    if (!decoder.isValid())
        return false;
    mText = decoder.decode(content);
    mByteOrderMark = mText.startsWith(QChar::ByteOrderMark);
    if (mByteOrderMark)
        mText.remove(0, 1);
    return true;
}

void XmlSource::Scan()
{
    mLineStarts = {0};
    for (qsizetype i = 0; i < mText.size(); ++i) {
        const QChar c = mText.at(i);
        // A carriage return alone ends a line too, before a line feed it does not.
        if (c == u'\n' || (c == u'\r' && (i + 1 == mText.size() || mText.at(i + 1) != u'\n')))
            mLineStarts.append(i + 1);
    }
    mElements.clear();
    mAttributes.clear();
    Scanner(mText, mElements, mAttributes).Run();

    int count = 0;
    bool same = true;
    ForEachElement([&](int number) {
        same = same && number < mElements.size()
            && mElements.at(number).Name == mFiler->GetCurrentNode().nodeName();
        ++count;
    });
    if (!same || count != mElements.size()) {
        mElements.clear();
        mAttributes.clear();
    }
}

QList<XmlSource::Attribute> XmlSource::GetAttributes(int element) const
{
    const Element& e = mElements.at(element);
    return mAttributes.mid(e.FirstAttribute, e.AttributeCount);
}

const XmlSource::Attribute* XmlSource::FindAttribute(int element, QStringView name) const
{
    const Element& e = mElements.at(element);
    const auto begin = mAttributes.cbegin() + e.FirstAttribute;
    const auto end = begin + e.AttributeCount;
    const auto found = std::find_if(begin, end, [name](const Attribute& a) { return a.Name == name; });
    return found == end ? nullptr : &*found;
}

Place XmlSource::GetPlace(qsizetype offset) const
{
    const auto next = std::upper_bound(mLineStarts.cbegin(), mLineStarts.cend(), offset);
    const qsizetype line = next - mLineStarts.cbegin();
    return {static_cast<int>(line), static_cast<int>(offset - mLineStarts.at(line - 1) + 1)};
}

Place XmlSource::GetElementPlace(int element) const
{
    return GetPlace(mElements.at(element).Begin);
}

QByteArray XmlSource::Encode(const QString& text) const
{
    QStringEncoder encoder(mEncoding.constData());
    return encoder.encode(mByteOrderMark ? QChar(QChar::ByteOrderMark) + text : text);
}

} // namespace Quorvin::Tool
