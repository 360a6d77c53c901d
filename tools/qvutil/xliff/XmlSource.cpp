// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/XmlSource.h"

#include "cli/Failure.h"
#include "documents/DocumentFile.h"
#include <qvutil/xml/XmlRules_p.h>

#include <QRegularExpression>
#include <QStringConverter>
#include <QXmlStreamReader>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

/// Finds the places of elements and attributes in a text that the library has loaded.
class PlaceReader
{
public:
    PlaceReader(const QString& text, QList<XmlSource::Element>& elements,
                QList<XmlSource::Attribute>& attributes)
        : mText(text)
        , mElements(elements)
        , mAttributes(attributes)
        , mReader(text)
    {
        Util::Internal::ConfigureXmlReader(mReader);
    }

    /// \return false if an element comes from an entity and therefore has no place in the text
    bool Run()
    {
        while (!mReader.atEnd()) {
            const auto token = mReader.readNext();
            if ((token == QXmlStreamReader::StartElement && !AddElement())
                || (token == QXmlStreamReader::EndElement && !EndElement()))
                return false;
        }
        return !mReader.hasError();
    }

private:
    /// Finds the tag that the reader has just read. Inside an entity, the reader's offset is the end of the
    /// reference.
    /// \return the offset of '<', which occurs only once in a tag; -1 if the tag is not in the text
    [[nodiscard]] qsizetype FindTag(QLatin1StringView start) const
    {
        const qsizetype begin = mText.lastIndexOf(u'<', mReader.characterOffset() - 1);
        const QStringView tag = QStringView(mText).first(mReader.characterOffset()).mid(begin);
        const bool isTag = begin >= mLastTagEnd && tag.endsWith(u'>') && tag.startsWith(start)
            && tag.sliced(start.size()).startsWith(mReader.qualifiedName());
        return isTag ? begin : -1;
    }

    bool AddElement()
    {
        const qsizetype begin = FindTag("<"_L1);
        if (begin < 0)
            return false;
        mLastTagEnd = mReader.characterOffset();
        XmlSource::Element element;
        element.Name = QStringView(mText).sliced(begin + 1, mReader.qualifiedName().size());
        element.Parent = mOpen.isEmpty() ? -1 : mOpen.constLast();
        element.Begin = begin;
        element.TagEnd = element.ContentEnd = element.End = mLastTagEnd;
        element.FirstAttribute = mAttributes.size();
        AddAttributes(begin + 1 + element.Name.size());
        element.AttributeCount = mAttributes.size() - element.FirstAttribute;
        mOpen.append(static_cast<int>(mElements.size()));
        mElements.append(element);
        return true;
    }

    void AddAttributes(qsizetype position)
    {
        const QXmlStreamAttributes found = mReader.attributes();
        for (const QXmlStreamAttribute& attribute : found) {
            if (attribute.isDefault()) // declared by the document type
                continue;
            XmlSource::Attribute place;
            place.Begin = mText.indexOf(attribute.qualifiedName(), position); // only white space comes before
            place.Name = QStringView(mText).mid(place.Begin, attribute.qualifiedName().size());
            const qsizetype equals = mText.indexOf(u'=', place.Begin);
            place.ValueBegin = equals + 1;
            while (mText.at(place.ValueBegin) != u'"' && mText.at(place.ValueBegin) != u'\'')
                ++place.ValueBegin;
            const QChar quote = mText.at(place.ValueBegin++);
            place.ValueEnd = mText.indexOf(quote, place.ValueBegin);
            position = place.ValueEnd + 1;
            mAttributes.append(place);
        }
    }

    bool EndElement()
    {
        XmlSource::Element& element = mElements[mOpen.takeLast()];
        if (element.TagEnd == mReader.characterOffset()) // a self-closing element has no end tag
            return true;
        element.ContentEnd = FindTag("</"_L1);
        element.End = mLastTagEnd = mReader.characterOffset();
        return element.ContentEnd >= 0;
    }

    const QString& mText;
    QList<XmlSource::Element>& mElements;
    QList<XmlSource::Attribute>& mAttributes;
    QXmlStreamReader mReader;
    QList<int> mOpen;
    qsizetype mLastTagEnd = 0;
};

/// Returns the encoding in the XML declaration of a file; UTF-8 if there is none.
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

QStringList FindComments(QStringView markup)
{
    struct Section
    {
        QLatin1StringView Begin;
        QLatin1StringView End;
        bool IsComment;
    };
    static constexpr std::array sections{Section{"<!--"_L1, "-->"_L1, true}, Section{"<?"_L1, "?>"_L1, true},
                                         Section{"<![CDATA["_L1, "]]>"_L1, false}};
    QStringList result;
    qsizetype begin = markup.indexOf(u'<');
    while (begin >= 0) {
        const QStringView rest = markup.sliced(begin);
        const auto section = std::find_if(sections.begin(), sections.end(),
                                          [rest](const Section& s) { return rest.startsWith(s.Begin); });
        qsizetype size = 1;
        if (section != sections.end()) {
            const qsizetype end = rest.indexOf(section->End, section->Begin.size());
            size = end < 0 ? rest.size() : end + section->End.size();
            if (section->IsComment)
                result += rest.first(size).toString();
        }
        begin = markup.indexOf(u'<', begin + size);
    }
    return result;
}

XmlSource::XmlSource()
    : mFiler(std::make_unique<Util::XmlFiler>())
{ }

void XmlSource::Load(const InputFile& file)
{
    const QByteArray content = file.ReadAll();
    if (!Decode(content) || !mFiler->LoadFromXmlString(mText)) {
        RequireLoadable(file.Name(), content);
        const QString reason = mFiler->GetLoadError().Text;
        throw Failure(file.Name(),
                      reason.isEmpty() ? u"is not in the encoding %1"_s.arg(QString::fromLatin1(mEncoding))
                                       : reason);
    }
    FindPlaces();
}

bool XmlSource::LoadText(const QString& text)
{
    if (!mFiler->LoadFromXmlString(text))
        return false;
    mText = text;
    mEncoding = QByteArrayLiteral("UTF-8");
    FindPlaces();
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
    if (decoder.hasError())
        return false;
    mByteOrderMark = mText.startsWith(QChar::ByteOrderMark);
    if (mByteOrderMark)
        mText.remove(0, 1);
    return true;
}

void XmlSource::FindPlaces()
{
    mLineStarts = {0};
    for (qsizetype i = 0; i < mText.size(); ++i) {
        const QChar c = mText.at(i);
        // A carriage return ends a line, except before a line feed.
        if (c == u'\n' || (c == u'\r' && (i + 1 == mText.size() || mText.at(i + 1) != u'\n')))
            mLineStarts.append(i + 1);
    }
    mElements.clear();
    mAttributes.clear();
    if (!PlaceReader(mText, mElements, mAttributes).Run()) {
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

bool XmlSource::CanEncode(const QString& text) const
{
    if (mUnicode)
        return true;
    QStringEncoder encoder(mEncoding.constData());
    const QByteArray bytes = encoder.encode(text);
    QStringDecoder decoder(mEncoding.constData());
    const QString decoded = decoder.decode(bytes);
    return decoded == text;
}

} // namespace Quorvin::Tool
