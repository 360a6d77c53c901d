// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "XmlFiler.h"

#include "StringUtil.h"
#include "base/Logging_p.h"
#include "base/QtCompat_p.h"
#include "platform/Platform_p.h"
#include "xml/TranslationMark_p.h"
#include "xml/XmlLimits_p.h"

#include <QFile>
#include <QTextStream>
#include <QXmlStreamReader>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

constexpr int kFileIndent = 4;
constexpr int kStringIndent = 1;
constexpr qsizetype kMaxKnownPlaces = 4096;

bool IsSeparator(QChar c)
{
    return c == u'/' || c == u'\\';
}

// Takes the next step off the front of a path; empty at its end.
QStringView TakeStep(QStringView& path)
{
    const auto begin = std::find_if_not(path.begin(), path.end(), IsSeparator);
    const auto end = std::find_if(begin, path.end(), IsSeparator);
    const QStringView step(begin, end);
    path = QStringView(end, path.end());
    return step;
}

QDomElement FindChildElement(const QDomNode& parent, const QString& name)
{
    if (name.isEmpty())
        return parent.firstChildElement();
    // namedItem looks at nodes without making a handle of each, which firstChildElement does.
    const QDomNode child = parent.namedItem(name);
    if (child.isNull() || child.isElement())
        return child.toElement();
    return parent.firstChildElement(name); // another kind of node bears the name and comes first
}

// A step as the QString that QDom asks for, without copying it; good as long as the path is.
QString AsString(QStringView step)
{
    return QString::fromRawData(step.data(), step.size());
}

template <typename Parse> auto ReadNumber(const QDomElement& element, const QString& name, Parse parse)
{
    bool ok = false;
    const auto value = parse(element.attribute(name), &ok);
    return ok ? std::optional(value) : std::nullopt;
}

int ParseInt(const QString& text, bool* ok)
{
    return text.toInt(ok);
}
unsigned int ParseUInt(const QString& text, bool* ok)
{
    return text.toUInt(ok);
}
long ParseLong(const QString& text, bool* ok)
{
    return text.toLong(ok);
}
unsigned long ParseULong(const QString& text, bool* ok)
{
    return text.toULong(ok);
}
long long ParseInt64(const QString& text, bool* ok)
{
    return text.toLongLong(ok);
}
double ParseDouble(const QString& text, bool* ok)
{
    return text.toDouble(ok);
}

template <size_t Count> std::optional<std::array<int, Count>> ParseIntList(QStringView text)
{
    std::array<int, Count> numbers{};
    size_t count = 0;
    const QList<QStringView> parts = text.split(u',');
    for (const QStringView part : parts) {
        if (count == Count)
            return std::nullopt;
        numbers[count++] = part.toInt(); // a part that is no number counts as 0
    }
    return count == Count ? std::optional(numbers) : std::nullopt;
}

bool ParseBoolean(const QString& text, bool defaultValue)
{
    if (text.compare("true"_L1, Qt::CaseInsensitive) == 0)
        return true;
    if (text.compare("false"_L1, Qt::CaseInsensitive) == 0)
        return false;
    bool ok = false;
    const unsigned int number = text.toUInt(&ok);
    return ok ? number != 0 : defaultValue;
}

QDateTime ParseDate(const QString& text, const QDateTime& defaultValue)
{
    if (text.isEmpty())
        return defaultValue;
    return Internal::ReinterpretAsUtc(QDateTime::fromString(text, Qt::ISODate)).toLocalTime();
}

QString FormatDate(const QDateTime& value)
{
    return (value.timeSpec() == Qt::LocalTime ? value.toUTC() : value).toString(Qt::ISODate);
}

QString FormatRect(const QRect& value)
{
    return u"%1,%2,%3,%4"_s.arg(value.x()).arg(value.y()).arg(value.width()).arg(value.height());
}

QString FormatSize(const QSize& value)
{
    return u"%1,%2"_s.arg(value.width()).arg(value.height());
}

bool IsXmlCharacter(char16_t c)
{
    return c >= 0x20 ? c != 0xFFFE && c != 0xFFFF && !QChar::isSurrogate(c)
                     : c == u'\t' || c == u'\n' || c == u'\r';
}

// Such a text can be written, but the document that holds it will not load again.
void WarnOfUnwritableCharacters(QStringView text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        const bool isPair = QChar::isHighSurrogate(c) && i + 1 < text.size() && text[i + 1].isLowSurrogate();
        if (isPair)
            ++i;
        else if (!IsXmlCharacter(c)) {
            qCWarning(lcQvUtil, "a text holds U+%04X, which XML cannot hold: it will not read back", c);
            return;
        }
    }
}

// What keeps a document from being loaded; empty if nothing does.
QString FindLoadError(const QByteArray& document)
{
    if (!Internal::KeepsXmlLimits(document))
        return u"it is nested too deeply, or its entities are too large"_s;
    QXmlStreamReader reader(document);
    reader.setNamespaceProcessing(false); // as the document's own parser
    while (!reader.atEnd())
        reader.readNext();
    return reader.hasError() ? u"line %1: %2"_s.arg(reader.lineNumber()).arg(reader.errorString())
                             : QString();
}

// A name with a blank, a second root element or a "--" in a comment can be saved, but the file is then lost
// to its readers. The document is parsed for this only if somebody will see the warning.
void WarnOfUnreadableDocument(const QString& path, const QByteArray& document)
{
    if (!lcQvUtil().isWarningEnabled())
        return;
    const QString error = FindLoadError(document);
    if (!error.isEmpty())
        qCWarning(lcQvUtil, "\"%ls\" is saved, but will not load again: %ls", qUtf16Printable(path),
                  qUtf16Printable(error));
}

QString Serialise(const QDomNode& node)
{
    QString text;
    QTextStream stream(&text);
    node.save(stream, kFileIndent, QDomNode::EncodingFromTextStream);
    stream.flush();
    return text;
}

QString SerialiseContent(const QDomElement& element)
{
    QString text;
    QTextStream stream(&text);
    for (QDomNode child = element.firstChild(); !child.isNull(); child = child.nextSibling())
        child.save(stream, kFileIndent, QDomNode::EncodingFromTextStream);
    stream.flush();
    return text;
}

QByteArray DecodeContent(const QDomElement& element)
{
    const QString data = element.firstChild().toText().data();
    return QByteArray::fromBase64(data.toLatin1());
}

void SetEnum(QDomElement element, const QString& name, int value, EnumValueName* table, int count, bool flags)
{
    if (element.isNull())
        return;
    const QString text = GeneralUtil::EnumValueToName(value, table, count, flags);
    if (!text.isEmpty())
        element.setAttribute(name, text);
}

int ParseEnum(const QString& text, int defaultValue, EnumValueName* table, int count, bool flags)
{
    if (text.isEmpty())
        return defaultValue;
    const int value = GeneralUtil::EnumNameToValue(text, table, count, flags);
    return value < 0 ? defaultValue : value;
}

} // namespace

XmlFiler::XmlFiler() = default;

XmlFiler::~XmlFiler() = default;

// Documents

bool XmlFiler::LoadFromXmlFile(const QString& path)
{
    if (!QFile::exists(path))
        return false;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        GeneralUtil::OutputDebugString(u"XmlFiler: Failed to open file %1. %2 (Error code: %3)"_s.arg(path)
                                           .arg(file.errorString())
                                           .arg(static_cast<int>(file.error())));
        return false;
    }
    if (!Load(file.readAll()))
        return false;
    mFilePath = path;
    return true;
}

bool XmlFiler::LoadFromXmlString(const QString& xml)
{
    return Load(xml);
}

template <typename Text> bool XmlFiler::Load(const Text& xml)
{
    ForgetPlaces();
    RemoveChildren(mDocument);
    if (Internal::KeepsXmlLimits(xml) && mDocument.setContent(xml)) {
        MoveToRoot();
        return true;
    }
    // Qt 6.4 keeps what it had read before the error. Nothing, parsed, clears the document type as well.
    static_cast<void>(mDocument.setContent(QString()));
    return false;
}

bool XmlFiler::SaveAsXmlFile(const QString& path)
{
    if (IsEmpty())
        return false;
    QByteArray content;
    QTextStream stream(&content);
    mDocument.save(stream, kFileIndent, QDomNode::EncodingFromTextStream);
    stream.flush();
    if (!Platform::ReplaceFile(path, content))
        return false;
    WarnOfUnreadableDocument(path, content);
    return true;
}

QString XmlFiler::SaveAsXmlString()
{
    return IsEmpty() ? QString() : mDocument.toString(kStringIndent);
}

bool XmlFiler::IsEmpty() const
{
    // A root element without attributes and content is content all the same: it is a child of the document.
    return mDocument.documentElement().isNull();
}

void XmlFiler::Reset()
{
    ForgetPlaces();
    SetCursor({});
    if (mNodeStack.contains(mDocument))
        mDetachedTrees.append({mDocument, mDocument});
    else
        RemoveChildren(mDocument);
    mDocument.clear();
}

void XmlFiler::CreateXmlDeclaration()
{
    const QDomNode declaration = mDocument.namedItem(u"xml"_s);
    if (!declaration.isProcessingInstruction())
        CreateProcessingInstruction(u"xml"_s, u"version=\"1.0\""_s);
}

void XmlFiler::CreateProcessingInstruction(const QString& target, const QString& data)
{
    const QDomNode instruction = mDocument.createProcessingInstruction(target, data);
    const QDomElement root = mDocument.documentElement();
    if (root.isNull())
        mDocument.appendChild(instruction);
    else
        mDocument.insertBefore(instruction, root);
}

void XmlFiler::CreateRoot(const QString& name)
{
    if (!mDocument.documentElement().isNull())
        return;
    CreateXmlDeclaration();
    CreateOrMoveToNode(name.isEmpty() ? u"Root"_s : name, true, false);
}

// Movement and structure

bool XmlFiler::CreateNode(const QString& path, bool b)
{
    return CreateOrMoveToNode(path, true, !b);
}

bool XmlFiler::CreateOrMoveToNode(const QString& path, bool create, bool alwaysNewLast)
{
    const std::optional<QDomNode> node = create ? FindOrCreateNode(path, alwaysNewLast) : FindNode(path);
    if (!node)
        return false;
    SetCursor(*node);
    return true;
}

// The start of a path's walk: the cursor or the root; takes the steps off the path that lead there.
QDomNode XmlFiler::TakeStart(QStringView& path) const
{
    path = path.trimmed();
    if (path.isEmpty() || !IsSeparator(path.front()))
        return mCurrentNode;
    const QDomElement root = mDocument.documentElement();
    QStringView rest = path;
    if (TakeStep(rest) == root.tagName())
        path = rest;
    return root;
}

// Nothing if an element is missing; a null node is a place too: the one above an empty document.
std::optional<QDomNode> XmlFiler::WalkTo(QStringView path) const
{
    QDomNode node = TakeStart(path);
    for (QStringView step = TakeStep(path); !step.isEmpty(); step = TakeStep(path)) {
        node = FindChildElement(node, AsString(step));
        if (node.isNull())
            return std::nullopt;
    }
    return node;
}

std::optional<QDomNode> XmlFiler::FindNode(const QString& path) const
{
    if (mNodesAreShared)
        return WalkTo(path);
    QHash<QString, QDomNode>& places = KnownPlaces(path);
    const auto known = places.constFind(path);
    if (known != places.cend())
        return *known;
    const std::optional<QDomNode> node = WalkTo(path);
    if (node && !node->isNull()) {
        if (places.size() >= kMaxKnownPlaces)
            places.clear();
        // A copy of the characters, since the caller's string may not own them.
        places.insert(QString(path.constData(), path.size()), *node);
    }
    return node;
}

QHash<QString, QDomNode>& XmlFiler::KnownPlaces(const QString& path) const
{
    const bool isAbsolute = !path.isEmpty() && IsSeparator(path.front());
    return isAbsolute ? mAbsolutePlaces : mRelativePlaces;
}

void XmlFiler::ForgetPlaces() const
{
    mAbsolutePlaces.clear();
    mRelativePlaces.clear();
}

QDomNode XmlFiler::FindOrCreateNode(const QString& path, bool alwaysNewLast)
{
    if (!alwaysNewLast) {
        if (const std::optional<QDomNode> node = FindNode(path))
            return *node;
    }
    QStringView rest = path;
    QDomNode node = TakeStart(rest);
    QStringView step = TakeStep(rest);
    while (!step.isEmpty()) {
        const QStringView next = TakeStep(rest);
        const bool lookUp = !(alwaysNewLast && next.isEmpty());
        const QDomNode child = lookUp ? FindChildElement(node, AsString(step)) : QDomNode();
        node = child.isNull() ? AppendElement(node, step.toString()) : child;
        step = next;
    }
    return node;
}

QDomNode XmlFiler::AppendElement(const QDomNode& parent, const QString& name)
{
    ForgetPlaces();
    QDomNode element = mDocument.createElement(name);
    if (parent.isNull())
        mDocument.appendChild(element);
    else
        QDomNode(parent).appendChild(element);
    return element;
}

void XmlFiler::CreateImmediateChildNode(const QString& name)
{
    SetCursor(AppendElement(mCurrentNode, name));
}

void XmlFiler::MoveToRoot()
{
    SetCursor(mDocument.documentElement());
}

bool XmlFiler::MoveTo(const QDomNode& node)
{
    if (node.isNull())
        return false;
    SetCursor(node);
    return true;
}

bool XmlFiler::MoveToFirstChild()
{
    return MoveTo(mCurrentNode.firstChildElement());
}

bool XmlFiler::MoveToNode(const QString& path)
{
    return CreateOrMoveToNode(path, false, false);
}

bool XmlFiler::MoveToImmediateChildNode(const QString& name)
{
    return MoveTo(FindChildElement(mCurrentNode, name));
}

bool XmlFiler::MoveToNextSibling()
{
    return MoveTo(mCurrentNode.nextSiblingElement());
}

bool XmlFiler::MoveToParent()
{
    return MoveTo(mCurrentNode.parentNode());
}

void XmlFiler::DeleteNode()
{
    const QDomNode parent = mCurrentNode.parentNode();
    if (parent.isNull())
        return;
    const QDomNode node = mCurrentNode;
    SetCursor(parent);
    RemoveChild(parent, node);
}

void XmlFiler::DeleteNode(const QString& path)
{
    const std::optional<QDomNode> node = FindNode(path);
    if (!node)
        return;
    const QDomNode parent = node->parentNode();
    if (parent.isNull()) {
        SetCursor(*node); // itself, or the root that an empty document does not have
        return;
    }
    RemoveChild(parent, *node);
    if (mCurrentNode.isNull())
        SetCursor(parent);
}

void XmlFiler::DeleteChildNodes()
{
    RemoveChildren(mCurrentNode);
}

void XmlFiler::DeleteChildNodes(const QString& path)
{
    if (const std::optional<QDomNode> node = FindNode(path))
        RemoveChildren(*node);
}

QDomNode XmlFiler::GetCurrentNode() const
{
    mNodesAreShared = true;
    ForgetPlaces();
    return mCurrentNode;
}

QString XmlFiler::GetCurrentNodePath() const
{
    QStringList names;
    const QDomElement root = mDocument.documentElement();
    for (QDomNode node = mCurrentNode; !node.isNull(); node = node.parentNode()) {
        names.prepend(node.nodeName());
        if (node == root)
            break;
    }
    return names.isEmpty() ? QString() : u'/' + names.join(u'/');
}

void XmlFiler::PushCurrentNode() const
{
    mNodeStack.append(mCurrentNode);
}

void XmlFiler::PopCurrentNode() const
{
    SetCursor(mNodeStack.takeLast());
}

// The cursor and what it keeps alive

void XmlFiler::SetCursor(const QDomNode& node) const
{
    mCurrentNode = node;
    mRelativePlaces.clear();
    if (!mDetachedTrees.isEmpty())
        ReleaseUnusedTrees();
}

// Whether the cursor or the node stack points into a tree.
bool XmlFiler::IsHeld(const QDomNode& tree) const
{
    const auto isInTree = [&tree](QDomNode node) {
        while (!node.isNull() && node != tree)
            node = node.parentNode();
        return !node.isNull();
    };
    return isInTree(mCurrentNode) || std::any_of(mNodeStack.cbegin(), mNodeStack.cend(), isInTree);
}

void XmlFiler::ReleaseUnusedTrees() const
{
    mDetachedTrees.removeIf([this](const DetachedTree& tree) { return !IsHeld(tree.Top); });
}

void XmlFiler::RemoveChild(QDomNode parent, const QDomNode& child)
{
    if (child.isElement()) // no path leads to other nodes
        ForgetPlaces();
    parent.removeChild(child);
    if (IsHeld(child))
        mDetachedTrees.append({child, parent.ownerDocument()});
}

void XmlFiler::RemoveChildren(const QDomNode& parent)
{
    for (QDomNode child = parent.firstChild(); !child.isNull(); child = parent.firstChild())
        RemoveChild(parent, child);
}

// Values

QDomElement XmlFiler::CurrentElement() const
{
    return mCurrentNode.toElement();
}

QDomElement XmlFiler::ElementAt(const QString& path) const
{
    return FindNode(path).value_or(QDomNode()).toElement();
}

QDomElement XmlFiler::CreateElementAt(const QString& path)
{
    return FindOrCreateNode(path, false).toElement();
}

int XmlFiler::ReadInt(const QString& name, int defaultValue) const
{
    return ReadNumber(CurrentElement(), name, ParseInt).value_or(defaultValue);
}

int XmlFiler::ReadInt(const QString& path, const QString& name, int defaultValue) const
{
    return ReadNumber(ElementAt(path), name, ParseInt).value_or(defaultValue);
}

void XmlFiler::WriteInt(const QString& name, int value)
{
    CurrentElement().setAttribute(name, value);
}

void XmlFiler::WriteInt(const QString& path, const QString& name, int value)
{
    CreateElementAt(path).setAttribute(name, value);
}

unsigned int XmlFiler::ReadUInt(const QString& name, unsigned int defaultValue)
{
    return ReadNumber(CurrentElement(), name, ParseUInt).value_or(defaultValue);
}

unsigned int XmlFiler::ReadUInt(const QString& path, const QString& name, unsigned int defaultValue)
{
    return ReadNumber(ElementAt(path), name, ParseUInt).value_or(defaultValue);
}

void XmlFiler::WriteUInt(const QString& name, unsigned int value)
{
    CurrentElement().setAttribute(name, value);
}

void XmlFiler::WriteUInt(const QString& path, const QString& name, unsigned int value)
{
    CreateElementAt(path).setAttribute(name, value);
}

long XmlFiler::ReadLong(const QString& name, long defaultValue)
{
    return ReadNumber(CurrentElement(), name, ParseLong).value_or(defaultValue);
}

long XmlFiler::ReadLong(const QString& path, const QString& name, long defaultValue)
{
    return ReadNumber(ElementAt(path), name, ParseLong).value_or(defaultValue);
}

void XmlFiler::WriteLong(const QString& name, long value)
{
    CurrentElement().setAttribute(name, static_cast<qlonglong>(value));
}

void XmlFiler::WriteLong(const QString& path, const QString& name, long value)
{
    CreateElementAt(path).setAttribute(name, static_cast<qlonglong>(value));
}

unsigned long XmlFiler::ReadULong(const QString& name, unsigned long defaultValue)
{
    return ReadNumber(CurrentElement(), name, ParseULong).value_or(defaultValue);
}

unsigned long XmlFiler::ReadULong(const QString& path, const QString& name, unsigned long defaultValue)
{
    return ReadNumber(ElementAt(path), name, ParseULong).value_or(defaultValue);
}

void XmlFiler::WriteULong(const QString& name, unsigned long value)
{
    CurrentElement().setAttribute(name, static_cast<qulonglong>(value));
}

void XmlFiler::WriteULong(const QString& path, const QString& name, unsigned long value)
{
    CreateElementAt(path).setAttribute(name, static_cast<qulonglong>(value));
}

long long XmlFiler::ReadInt64(const QString& name, long long defaultValue)
{
    return ReadNumber(CurrentElement(), name, ParseInt64).value_or(defaultValue);
}

long long XmlFiler::ReadInt64(const QString& path, const QString& name, long long defaultValue)
{
    return ReadNumber(ElementAt(path), name, ParseInt64).value_or(defaultValue);
}

void XmlFiler::WriteInt64(const QString& name, long long value)
{
    CurrentElement().setAttribute(name, value);
}

void XmlFiler::WriteInt64(const QString& path, const QString& name, long long value)
{
    CreateElementAt(path).setAttribute(name, value);
}

double XmlFiler::ReadDouble(const QString& name, double defaultValue)
{
    return ReadNumber(CurrentElement(), name, ParseDouble).value_or(defaultValue);
}

double XmlFiler::ReadDouble(const QString& path, const QString& name, double defaultValue)
{
    return ReadNumber(ElementAt(path), name, ParseDouble).value_or(defaultValue);
}

void XmlFiler::WriteDouble(const QString& name, double value)
{
    CurrentElement().setAttribute(name, value);
}

void XmlFiler::WriteDouble(const QString& path, const QString& name, double value)
{
    CreateElementAt(path).setAttribute(name, value);
}

bool XmlFiler::ReadBoolean(const QString& name, bool defaultValue) const
{
    return ParseBoolean(CurrentElement().attribute(name), defaultValue);
}

bool XmlFiler::ReadBoolean(const QString& path, const QString& name, bool defaultValue) const
{
    return ParseBoolean(ElementAt(path).attribute(name), defaultValue);
}

void XmlFiler::WriteBoolean(const QString& name, bool value)
{
    CurrentElement().setAttribute(name, value ? u"True"_s : u"False"_s);
}

void XmlFiler::WriteBoolean(const QString& path, const QString& name, bool value)
{
    CreateElementAt(path).setAttribute(name, value ? u"True"_s : u"False"_s);
}

namespace {

// The last coordinate of what begins at start, as QRect has it; one beyond int wraps around.
int LastCoordinate(int start, int length)
{
    return static_cast<int>(static_cast<unsigned int>(start) + static_cast<unsigned int>(length) - 1U);
}

QRect ReadRectFrom(const QDomElement& element, const QString& name, const QRect& defaultValue)
{
    const auto numbers = ParseIntList<4>(element.attribute(name));
    if (!numbers)
        return defaultValue;
    const auto [x, y, width, height] = *numbers;
    return {QPoint(x, y), QPoint(LastCoordinate(x, width), LastCoordinate(y, height))};
}

QSize ReadSizeFrom(const QDomElement& element, const QString& name, const QSize& defaultValue)
{
    const auto numbers = ParseIntList<2>(element.attribute(name));
    return numbers ? QSize((*numbers)[0], (*numbers)[1]) : defaultValue;
}

} // namespace

QRect XmlFiler::ReadRect(const QString& name, const QRect& defaultValue)
{
    return ReadRectFrom(CurrentElement(), name, defaultValue);
}

QRect XmlFiler::ReadRect(const QString& path, const QString& name, const QRect& defaultValue)
{
    return ReadRectFrom(ElementAt(path), name, defaultValue);
}

void XmlFiler::WriteRect(const QString& name, const QRect& value)
{
    CurrentElement().setAttribute(name, FormatRect(value));
}

void XmlFiler::WriteRect(const QString& path, const QString& name, const QRect& value)
{
    CreateElementAt(path).setAttribute(name, FormatRect(value));
}

QSize XmlFiler::ReadSize(const QString& name, const QSize& defaultValue)
{
    return ReadSizeFrom(CurrentElement(), name, defaultValue);
}

QSize XmlFiler::ReadSize(const QString& path, const QString& name, const QSize& defaultValue)
{
    return ReadSizeFrom(ElementAt(path), name, defaultValue);
}

void XmlFiler::WriteSize(const QString& name, const QSize& value)
{
    CurrentElement().setAttribute(name, FormatSize(value));
}

void XmlFiler::WriteSize(const QString& path, const QString& name, const QSize& value)
{
    CreateElementAt(path).setAttribute(name, FormatSize(value));
}

QString XmlFiler::ReadText(const QDomElement& element, const QString& name, const QString& defaultValue) const
{
    const QString text = element.attribute(name);
    return text.isEmpty() ? defaultValue : Translate(text);
}

QString XmlFiler::ReadString(const QString& name, const QString& defaultValue) const
{
    return ReadText(CurrentElement(), name, defaultValue);
}

QString XmlFiler::ReadString(const QString& path, const QString& name, const QString& defaultValue) const
{
    // The second pass, which translates the default too and a value of the form tr(tr(...)) twice, is
    // part of the interface.
    return Translate(ReadText(ElementAt(path), name, defaultValue));
}

void XmlFiler::WriteString(const QString& name, const QString& value)
{
    WarnOfUnwritableCharacters(value);
    CurrentElement().setAttribute(name, value);
}

void XmlFiler::WriteString(const QString& path, const QString& name, const QString& value)
{
    WarnOfUnwritableCharacters(value);
    CreateElementAt(path).setAttribute(name, value);
}

QDateTime XmlFiler::ReadDate(const QString& name, const QDateTime& defaultValue) const
{
    return ParseDate(CurrentElement().attribute(name), defaultValue);
}

QDateTime XmlFiler::ReadDate(const QString& path, const QString& name, const QDateTime& defaultValue) const
{
    return ParseDate(ElementAt(path).attribute(name), defaultValue);
}

void XmlFiler::WriteDate(const QString& name, const QDateTime& value)
{
    CurrentElement().setAttribute(name, FormatDate(value));
}

void XmlFiler::WriteDate(const QString& path, const QString& name, const QDateTime& value)
{
    CreateElementAt(path).setAttribute(name, FormatDate(value));
}

int XmlFiler::ReadEnum(const QString& name, int defaultValue, EnumValueName* table, int count, bool flags)
{
    return ParseEnum(ReadString(name, QString()), defaultValue, table, count, flags);
}

int XmlFiler::ReadEnum(const QString& name, int defaultValue, EnumValueName* table, int count)
{
    return ReadEnum(name, defaultValue, table, count, false);
}

int XmlFiler::ReadEnum(const QString& path, const QString& name, int defaultValue, EnumValueName* table,
                       int count, bool flags)
{
    return ParseEnum(ReadText(ElementAt(path), name, QString()), defaultValue, table, count, flags);
}

int XmlFiler::ReadEnum(const QString& path, const QString& name, int defaultValue, EnumValueName* table,
                       int count)
{
    return ReadEnum(path, name, defaultValue, table, count, false);
}

void XmlFiler::WriteEnum(const QString& name, int value, EnumValueName* table, int count, bool flags)
{
    SetEnum(CurrentElement(), name, value, table, count, flags);
}

void XmlFiler::WriteEnum(const QString& name, int value, EnumValueName* table, int count)
{
    WriteEnum(name, value, table, count, false);
}

void XmlFiler::WriteEnum(const QString& path, const QString& name, int value, EnumValueName* table, int count,
                         bool flags)
{
    SetEnum(CreateElementAt(path), name, value, table, count, flags);
}

void XmlFiler::WriteEnum(const QString& path, const QString& name, int value, EnumValueName* table, int count)
{
    WriteEnum(path, name, value, table, count, false);
}

QString XmlFiler::EnumValueToName(int value, const EnumValueName* table, int count, bool flags)
{
    return GeneralUtil::EnumValueToName(value, table, count, flags);
}

int XmlFiler::EnumNameToValue(const QString& name, EnumValueName* table, int count, bool flags)
{
    return GeneralUtil::EnumNameToValue(name, table, count, flags);
}

QStringList XmlFiler::GetEnumNames(EnumValueName* table, int count)
{
    return GeneralUtil::GetEnumNames(table, count);
}

// Content

void XmlFiler::ReplaceContent(QDomElement element, const QDomNode& content)
{
    RemoveChildren(element);
    element.appendChild(content);
}

void XmlFiler::WriteContentBytes(const QDomElement& element, const QByteArray& value)
{
    if (!element.isNull())
        ReplaceContent(element, mDocument.createCDATASection(QString::fromLatin1(value.toBase64())));
}

void XmlFiler::WriteContentText(const QDomElement& element, const QString& text, bool cdata)
{
    if (element.isNull())
        return;
    WarnOfUnwritableCharacters(text);
    if (cdata)
        ReplaceContent(element, mDocument.createCDATASection(text));
    else
        ReplaceContent(element, mDocument.createTextNode(text));
}

QString XmlFiler::ReadContentText(const QDomElement& element) const
{
    const QDomText text = element.firstChild().toText();
    return text.isCDATASection() ? text.data() : Translate(text.data());
}

QByteArray XmlFiler::ReadBuffer()
{
    return DecodeContent(CurrentElement());
}

QByteArray XmlFiler::ReadBuffer(const QString& path)
{
    return DecodeContent(ElementAt(path));
}

void XmlFiler::WriteBuffer(const QByteArray& value)
{
    WriteContentBytes(CurrentElement(), value);
}

void XmlFiler::WriteBuffer(const QString& path, const QByteArray& value)
{
    WriteContentBytes(CreateElementAt(path), value);
}

QString XmlFiler::ReadNodeText()
{
    return ReadContentText(CurrentElement());
}

QString XmlFiler::ReadNodeText(const QString& path)
{
    return ReadContentText(ElementAt(path));
}

void XmlFiler::WriteNodeText(const QString& text)
{
    WriteContentText(CurrentElement(), text, false);
}

void XmlFiler::WriteNodeText(const QString& text, bool cdata)
{
    WriteContentText(CurrentElement(), text, cdata);
}

void XmlFiler::WriteNodeText(const QString& path, const QString& text)
{
    WriteContentText(CreateElementAt(path), text, false);
}

void XmlFiler::WriteNodeText(const QString& path, const QString& text, bool cdata)
{
    WriteContentText(CreateElementAt(path), text, cdata);
}

QString XmlFiler::ReadInnerXml()
{
    return SerialiseContent(CurrentElement());
}

QString XmlFiler::ReadInnerXml(const QString& path)
{
    return SerialiseContent(ElementAt(path));
}

bool XmlFiler::WriteInnerXml(const QString& xml)
{
    const QString document = "<Root>"_L1 + xml + "</Root>"_L1;
    QDomDocument parsed;
    if (!Internal::KeepsXmlLimits(document) || !parsed.setContent(document))
        return false;
    QDomElement wrapper = parsed.documentElement();
    if (!wrapper.hasChildNodes())
        return false;
    if (mDocument.documentElement().isNull())
        CreateOrMoveToNode(u"Root"_s, true, false);
    if (mCurrentNode.isNull())
        return false;
    ForgetPlaces();
    for (QDomNode child = wrapper.firstChild(); !child.isNull(); child = wrapper.firstChild())
        mCurrentNode.insertAfter(child, QDomNode());
    return true;
}

bool XmlFiler::WriteInnerXml(const QString& path, const QString& xml)
{
    PushCurrentNode();
    const bool written = CreateOrMoveToNode(path, true, false) && WriteInnerXml(xml);
    PopCurrentNode();
    return written;
}

QString XmlFiler::ReadOuterXml()
{
    return CurrentElement().isNull() ? QString() : Serialise(mCurrentNode);
}

QString XmlFiler::ReadOuterXml(const QString& path)
{
    const QDomElement element = ElementAt(path);
    return element.isNull() ? QString() : Serialise(element);
}

void XmlFiler::WriteComment(const QString& text)
{
    const QDomNode comment = mDocument.createComment(text);
    if (mCurrentNode.isNull()) {
        CreateXmlDeclaration();
        mDocument.appendChild(comment);
    } else {
        mCurrentNode.appendChild(comment);
    }
}

void XmlFiler::WriteComment(const QString& path, const QString& text)
{
    PushCurrentNode();
    if (CreateOrMoveToNode(path, true, false))
        WriteComment(text);
    PopCurrentNode();
}

// Translation marks

bool XmlFiler::StripTr(QString& text) const
{
    const std::optional<QStringView> wrapped = Internal::FindTranslationMark(text);
    if (!wrapped)
        return false;
    text = wrapped->toString();
    return true;
}

QString XmlFiler::Translate(const QString& text) const
{
    if (!TranslateEnabled)
        return text;
    const std::optional<QStringView> wrapped = Internal::FindTranslationMark(text);
    if (!wrapped)
        return text;
    return Translator == nullptr ? wrapped->toString()
                                 : Translator->Translate(wrapped->toString(), mFilePath);
}

// Variables

int XmlFiler::ResolveVariables(const QMap<QString, QString>& variables)
{
    return IsEmpty() || variables.isEmpty() ? 0 : ResolveVariables(mDocument, variables);
}

int XmlFiler::ResolveVariables(QDomNamedNodeMap attributes, const QMap<QString, QString>& variables)
{
    int count = 0;
    for (int i = 0; i < attributes.count(); ++i) {
        QDomAttr attribute = attributes.item(i).toAttr();
        QString value = attribute.value();
        const int substitutions = StringUtil::ResolveVariables(value, variables, true);
        if (substitutions > 0)
            attribute.setValue(value);
        count += substitutions;
    }
    return count;
}

int XmlFiler::ResolveVariables(QDomNode node, const QMap<QString, QString>& variables)
{
    if (node.isNull() || node.isComment())
        return 0;
    int count = ResolveVariables(node.attributes(), variables);
    QString value = node.nodeValue();
    const int substitutions = StringUtil::ResolveVariables(value, variables, true);
    if (substitutions > 0)
        node.setNodeValue(value);
    count += substitutions;
    for (QDomNode child = node.firstChild(); !child.isNull(); child = child.nextSibling())
        count += ResolveVariables(child, variables);
    return count;
}

} // namespace Quorvin::Util
