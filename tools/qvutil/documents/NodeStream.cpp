// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/NodeStream.h"

#include <qvutil/xml/XmlRules_p.h>

namespace Quorvin::Tool {
namespace {

// Reading the clock takes longer than reading a node.
constexpr int kNodesPerProgress = 1000;

} // namespace

NodeStream::NodeStream(const QString& name, const QByteArray& document)
    : mName(name)
    , mBar(document.size())
    , mIsAccepted(Util::Internal::IsSafeToParse(document))
{
    if (!mIsAccepted)
        return;
    Util::Internal::ConfigureXmlReader(mReader);
    mReader.addData(document);
}

bool NodeStream::Next()
{
    while (mIsAccepted && !mReader.atEnd()) {
        if (!mName.isEmpty() && --mNodesUntilProgress < 0) {
            mNodesUntilProgress = kNodesPerProgress;
            mBar.Show(mReader.characterOffset(), mName);
        }
        switch (mReader.readNext()) {
        case QXmlStreamReader::StartElement:
            ++mDepth;
            return true;
        case QXmlStreamReader::EndElement:
            --mDepth;
            return true;
        case QXmlStreamReader::Characters:
            if (mDepth > 0 && HoldsTreeText())
                return true;
            break;
        case QXmlStreamReader::Comment:
        case QXmlStreamReader::ProcessingInstruction:
            if (mDepth > 0)
                return true;
            break;
        case QXmlStreamReader::StartDocument:
        case QXmlStreamReader::EndDocument:
        case QXmlStreamReader::NoToken:
        case QXmlStreamReader::Invalid:
            break;
        case QXmlStreamReader::DTD:
        case QXmlStreamReader::EntityReference:
            mIsAccepted = false;
        }
    }
    return false;
}

// The tree holds no text that consists of white space. Whether this includes white space that is written as a
// reference or in a CDATA section, and characters that only Unicode counts as spaces, depends on the version
// of Qt.
bool NodeStream::HoldsTreeText()
{
    if (!mReader.text().trimmed().isEmpty())
        return true;
    mIsAccepted = mReader.isWhitespace() && !mReader.isCDATA();
    return false;
}

bool NodeStream::IsComplete() const
{
    return mIsAccepted && mReader.atEnd() && !mReader.hasError();
}

} // namespace Quorvin::Tool
