// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/InlineText.h"

#include <qvutil/xml/XmlRules_p.h>

#include <QXmlStreamReader>

#include <utility>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

class InlineReader
{
public:
    InlineReader(const XmlSource& source, const QSet<int>& elements)
        : mElements(elements)
        , mReader(source.GetText())
    {
        Util::Internal::ConfigureXmlReader(mReader);
    }

    QHash<int, InlineText> Run()
    {
        while (!mReader.atEnd())
            ReadToken(mReader.readNext());
        return mTexts;
    }

private:
    struct OpenElement
    {
        QString Name;
        QString Equivalent; ///< replaces an element without content; null if not known
        qsizetype TextBegin = 0;
    };

    void ReadToken(QXmlStreamReader::TokenType token)
    {
        const bool isAfterStartTag = std::exchange(mIsAfterStartTag, false);
        if (token == QXmlStreamReader::StartElement)
            StartElement();
        else if (token == QXmlStreamReader::EndElement)
            EndElement();
        else if (mText == nullptr)
            return;
        else if (token == QXmlStreamReader::Characters)
            ReadCharacters(isAfterStartTag);
        else if (token == QXmlStreamReader::Comment)
            mText->Comments += "<!--"_L1 + mReader.text().toString() + "-->"_L1;
        else if (token == QXmlStreamReader::ProcessingInstruction)
            mText->Comments += "<?"_L1 + mReader.processingInstructionTarget().toString() + u' '
                + mReader.processingInstructionData().toString() + "?>"_L1;
    }

    /// Returns whether the reader's text only indents the elements around it. White space in a reference or a
    /// CDATA section does not count.
    [[nodiscard]] bool IsIndentation() const
    {
        return !mPreserves.constLast() && mReader.isWhitespace() && !mReader.isCDATA()
            && mReader.text().contains(u'\n');
    }

    void ReadCharacters(bool isAfterStartTag)
    {
        if (!IsIndentation()) {
            AddText(mReader.text());
            return;
        }
        mIndentation = mReader.text().toString();
        mIsIndentationAlone = isAfterStartTag && !mOpen.isEmpty();
    }

    /// Adds text. Indentation between two pieces of text becomes a space, unless there is already white
    /// space; elsewhere it is dropped.
    void AddText(QStringView text)
    {
        if (text.isEmpty())
            return;
        if (!mIndentation.isEmpty() && !mText->Text.isEmpty() && !mText->Text.back().isSpace()
            && !text.front().isSpace())
            mText->Text += u' ';
        mIndentation.clear();
        mText->Text += text;
    }

    void StartElement()
    {
        ++mNumber;
        const QXmlStreamAttributes attributes = mReader.attributes();
        const QStringView space = attributes.value("xml:space"_L1);
        const bool isInherited = !mPreserves.isEmpty() && mPreserves.constLast();
        mPreserves.append(space.isEmpty() ? isInherited : space == "preserve"_L1);
        if (mText != nullptr)
            StartInline();
        else if (mElements.contains(mNumber))
            mText = &mTexts[mNumber];
    }

    void StartInline()
    {
        const QXmlStreamAttributes attributes = mReader.attributes();
        OpenElement element;
        element.Name = mReader.name().toString();
        element.TextBegin = mText->Text.size();
        if (attributes.hasAttribute("equiv-text"_L1))
            element.Equivalent = attributes.value("equiv-text"_L1).toString();
        else if (attributes.value("ctype"_L1) == "lb"_L1)
            element.Equivalent = u"\n"_s;
        QString tag = u'<' + element.Name;
        for (const QXmlStreamAttribute& attribute : attributes)
            tag += u' ' + attribute.qualifiedName().toString() + "=\""_L1 + attribute.value().toString()
                + u'"';
        mText->Markup += tag + u'>';
        mOpen.append(element);
        mIsIndentationAlone = false;
        mIsAfterStartTag = true;
    }

    void EndElement()
    {
        mPreserves.removeLast();
        if (mText == nullptr)
            return;
        if (mOpen.isEmpty()) { // this ends the source or target
            mText = nullptr;
            mIndentation.clear();
            return;
        }
        const OpenElement element = mOpen.takeLast();
        if (std::exchange(mIsIndentationAlone, false)) // the element stands for this white space
            mText->Text += std::exchange(mIndentation, {});
        if (mText->Text.size() > element.TextBegin)
            return;
        static const QSet<QString> substitutes{u"x"_s, u"bx"_s, u"ex"_s, u"ph"_s};
        if (!element.Equivalent.isNull())
            AddText(element.Equivalent);
        else if (substitutes.contains(element.Name))
            mText->Unknown += u'<' + element.Name + u'>';
    }

    const QSet<int>& mElements;
    QXmlStreamReader mReader;
    QHash<int, InlineText> mTexts;
    InlineText* mText = nullptr; // of the source or target that is being read
    QList<OpenElement> mOpen;
    QList<bool> mPreserves; // one for each open element: whether all white space is text
    QString mIndentation; // not followed by text yet
    bool mIsIndentationAlone = false; // whether the innermost element contains nothing else so far
    bool mIsAfterStartTag = false; // whether the previous token was the start of an inline element
    int mNumber = -1;
};

} // namespace

QHash<int, InlineText> FindInlineTexts(const XmlSource& source, const QSet<int>& elements)
{
    return InlineReader(source, elements).Run();
}

} // namespace Quorvin::Tool
