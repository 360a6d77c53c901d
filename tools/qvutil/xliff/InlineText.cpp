// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/InlineText.h"

#include <qvutil/xml/XmlRules_p.h>

#include <QXmlStreamReader>

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
        if (token == QXmlStreamReader::StartElement)
            StartElement();
        else if (mText == nullptr)
            return;
        else if (token == QXmlStreamReader::EndElement)
            EndElement();
        else if (token == QXmlStreamReader::Characters)
            mText->Text += mReader.text();
        else if (token == QXmlStreamReader::Comment)
            mText->Comments += "<!--"_L1 + mReader.text().toString() + "-->"_L1;
        else if (token == QXmlStreamReader::ProcessingInstruction)
            mText->Comments += "<?"_L1 + mReader.processingInstructionTarget().toString() + u' '
                + mReader.processingInstructionData().toString() + "?>"_L1;
    }

    void StartElement()
    {
        ++mNumber;
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
    }

    void EndElement()
    {
        if (mOpen.isEmpty()) { // this ends the source or target
            mText = nullptr;
            return;
        }
        const OpenElement element = mOpen.takeLast();
        if (mText->Text.size() > element.TextBegin)
            return;
        static const QSet<QString> substitutes{u"x"_s, u"bx"_s, u"ex"_s, u"ph"_s};
        if (!element.Equivalent.isNull())
            mText->Text += element.Equivalent;
        else if (substitutes.contains(element.Name))
            mText->Unknown += u'<' + element.Name + u'>';
    }

    const QSet<int>& mElements;
    QXmlStreamReader mReader;
    QHash<int, InlineText> mTexts;
    InlineText* mText = nullptr; // of the source or target that is being read
    QList<OpenElement> mOpen;
    int mNumber = -1;
};

} // namespace

QHash<int, InlineText> FindInlineTexts(const XmlSource& source, const QSet<int>& elements)
{
    return InlineReader(source, elements).Run();
}

} // namespace Quorvin::Tool
