// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/XliffDocument.h"

#include "cli/Failure.h"
#include "documents/DocumentFile.h"
#include "xliff/InlineText.h"
#include <qvutil/general/Digest_p.h>
#include <qvutil/platform/Platform_p.h>

#include <qvutil/GeneralUtil.h>

#include <QDomElement>
#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;
using Quorvin::Util::Internal::IsDigest;

namespace Quorvin::Tool {
namespace {

constexpr QStringView kSkeleton = u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                  "<xliff version=\"1.2\" xmlns=\"urn:oasis:names:tc:xliff:document:1.2\">\n"
                                  "</xliff>\n";

bool IsBlank(QStringView text)
{
    return text.trimmed().isEmpty();
}

/// Returns whether a state says that a target still needs work.
bool IsUnfinished(QStringView state)
{
    return state == u"new" || state.startsWith(u"needs-");
}

/// Returns whether an element of a unit contains the unit's source or target.
bool IsText(QStringView name)
{
    return name == u"source" || name == u"seg-source" || name == u"target";
}

void AppendReference(QString& to, char32_t c)
{
    to += "&#"_L1 + QString::number(static_cast<uint>(c)) + u';';
}

} // namespace

QStringView LocalName(QStringView name)
{
    return name.mid(name.indexOf(u':') + 1);
}

QString DocumentKey(const QString& path)
{
    return QFileInfo(path).fileName().toLower();
}

QString UnitId(const QString& source)
{
    return QString::fromLatin1(Util::GeneralUtil::GetHash(source));
}

QString LanguageKey(const QString& language)
{
    return QString(language).replace(u'_', u'-').toLower();
}

bool IsSameLanguage(const QString& a, const QString& b)
{
    return LanguageKey(a) == LanguageKey(b);
}

bool XliffUnit::IsReachable() const
{
    return Reachability == UnitReachability::Found && IsDigest(Id);
}

UnitProgress XliffUnit::GetProgress() const
{
    if (Target.isEmpty())
        return UnitProgress::Empty;
    return !IsApproved && IsUnfinished(State) ? UnitProgress::Unfinished : UnitProgress::Finished;
}

QString XliffUnit::GetShownTarget() const
{
    QString text = WholeTarget;
    const bool isUnwrapped = text != Target && Util::XmlFiler().StripTr(text) && text == Target;
    return isUnwrapped ? Target : WholeTarget;
}

bool XliffUnit::IsFilledIn() const
{
    return !IsApproved && (State == "new"_L1 || State == "needs-translation"_L1);
}

bool XliffUnit::HasWrongId() const
{
    // Sources in a reformatted file have different white space.
    if (Id == UnitId(Source) || Id == UnitId(Source.trimmed()) || Id == UnitId(Source.simplified()))
        return false;
    // The digest of an incomplete source cannot be computed. An id that looks like a digest may be right.
    return IsSourceComplete || !IsDigest(Id);
}

bool XliffUnit::CanCorrectId() const
{
    // Elements may represent markup in the text of the document, which is then part of the digest.
    return !Source.isEmpty() && IsSourceComplete && !(HasSourceMarkup && IsDigest(Id));
}

XliffDocument::XliffDocument()
{
    mSource.LoadText(kSkeleton.toString());
    Read();
}

XliffDocument::XliffDocument(const InputFile& file)
    : mName(file.Name())
{
    mSource.Load(file);
    const QDomElement root = mSource.GetFiler().GetCurrentNode().toElement();
    const QString name = root.tagName();
    if (LocalName(name) != u"xliff")
        throw Failure(mName, u"is not an XLIFF file: its root element is %1"_s.arg(name));
    if (name != "xliff"_L1)
        throw Failure(mName, u"its elements have a namespace prefix, which the library does not support"_s);
    const QString version = root.attribute(u"version"_s, u"1.2"_s);
    if (!version.startsWith("1."_L1))
        throw Failure(mName, u"is XLIFF %1; the library reads XLIFF 1.2"_s.arg(version));
    if (!mSource.HasPlaces())
        throw Failure(mName, u"contains entities with markup; replace them with the markup"_s);
    Read();
}

void XliffDocument::RequireChangeable() const
{
    const auto refuse = [this](int element, const QString& reason) {
        const Place place = GetPlace(element);
        throw Failure(u"%1:%2:%3"_s.arg(mName, QString::number(place.Line), QString::number(place.Column)),
                      reason);
    };
    for (const XliffUnit& unit : mUnits) {
        int child = unit.Element;
        for (int parent = GetParent(child); parent >= 0; child = parent, parent = GetParent(child)) {
            if (LocalName(NameOf(parent)) == u"trans-unit" && IsText(NameOf(child))) {
                refuse(unit.Element,
                       u"the unit is inside the %1 of the unit on line %2; move it out by hand first"_s.arg(
                           NameOf(child), QString::number(GetPlace(parent).Line)));
            }
            if (NameOf(parent) == u"file" && GetParent(parent) > 0) {
                refuse(parent,
                       u"the file element is inside another element, but must be a child of the root; move "
                       "it by hand first"_s);
            }
        }
    }
}

void XliffDocument::Read()
{
    mLineEnd = mSource.GetText().contains("\r\n"_L1) ? u"\r\n"_s : u"\n"_s;
    mSource.ForEachElement([this](int element) {
        if (mSource.GetElements().at(element).Parent == 0)
            ReadFile(element);
        if (LocalName(NameOf(element)) == u"trans-unit")
            ReadUnit(element);
    });
    ReadInlineTexts();
    for (int i = 0; i < mFiles.size(); ++i) {
        if (HasUnits(mFiles.at(i)))
            mReadFiles.insert(mFiles.at(i).Key, i);
    }
    for (XliffUnit& unit : mUnits)
        unit.Reachability = ClassifyUnit(unit);
}

void XliffDocument::ReadFile(int element)
{
    const Util::XmlFiler& filer = mSource.GetFiler();
    XliffFile file;
    file.Element = element;
    file.Original = filer.ReadString(u"original"_s, {});
    file.Key = DocumentKey(file.Original);
    file.SourceLanguage = filer.ReadString(u"source-language"_s, {});
    file.TargetLanguage = filer.ReadString(u"target-language"_s, {});
    const QList<XmlSource::Element>& elements = mSource.GetElements();
    if (element + 1 < elements.size() && elements.at(element + 1).Parent == element)
        file.FirstChild = element + 1;
    file.Body = FindChild(element, u"body");
    mFiles.append(file);
}

void XliffDocument::ReadUnit(int element)
{
    Util::XmlFiler& filer = mSource.GetFiler();
    const QDomElement node = filer.GetCurrentNode().toElement();
    const QDomElement target = node.firstChildElement(u"target"_s);
    XliffUnit unit;
    unit.Element = element;
    unit.SourceElement = FindChild(element, u"source");
    unit.TargetElement = FindChild(element, u"target");
    unit.Id = filer.ReadString(u"id"_s, {});
    unit.Source = node.firstChildElement(u"source"_s).text();
    unit.Target = filer.ReadNodeText(u"target"_s);
    unit.WholeTarget = target.text();
    unit.State = target.attribute(u"state"_s);
    unit.IsApproved = node.attribute(u"approved"_s) == "yes"_L1;
    if (!mFiles.isEmpty() && mFiles.constLast().Element != element) {
        unit.File = static_cast<int>(mFiles.size()) - 1;
        mFiles.last().Units.append(static_cast<int>(mUnits.size()));
    }
    mUnits.append(unit);
}

/// Reads sources and targets with inline elements from the text, because the tree drops the white space
/// between elements.
void XliffDocument::ReadInlineTexts()
{
    const QList<XmlSource::Element>& elements = mSource.GetElements();
    QSet<int> wanted;
    for (const XliffUnit& unit : std::as_const(mUnits)) {
        for (const int element : {unit.SourceElement, unit.TargetElement}) {
            if (element >= 0 && element + 1 < elements.size() && elements.at(element + 1).Parent == element)
                wanted.insert(element);
        }
    }
    if (wanted.isEmpty())
        return;
    const QHash<int, InlineText> texts = FindInlineTexts(mSource, wanted);
    for (XliffUnit& unit : mUnits) {
        if (const auto found = texts.constFind(unit.SourceElement); found != texts.cend()) {
            unit.Source = found->Text;
            unit.IsSourceComplete = found->Unknown.isEmpty();
            unit.HasSourceMarkup = true;
        }
        if (const auto found = texts.constFind(unit.TargetElement); found != texts.cend()) {
            unit.WholeTarget = found->Text;
            unit.IsTargetComplete = found->Unknown.isEmpty();
        }
    }
}

UnitReachability XliffDocument::ClassifyUnit(const XliffUnit& unit) const
{
    if (unit.File < 0)
        return UnitReachability::Nested;
    const XliffFile& file = mFiles.at(unit.File);
    const int parent = mSource.GetElements().at(unit.Element).Parent;
    if (file.Key.isEmpty())
        return UnitReachability::NoFileName;
    if (mSource.GetElements().at(parent).Parent != file.Element)
        return UnitReachability::Nested;
    if (parent != file.FirstChild)
        return UnitReachability::BodyNotFirst;
    return mReadFiles.value(file.Key, -1) == unit.File ? UnitReachability::Found : UnitReachability::Replaced;
}

/// Returns whether the library reads the file. It skips files whose first child contains no element.
bool XliffDocument::HasUnits(const XliffFile& file) const
{
    const QList<XmlSource::Element>& elements = mSource.GetElements();
    const int first = file.FirstChild;
    return first >= 0 && first + 1 < elements.size() && elements.at(first + 1).Parent == first;
}

QStringView XliffDocument::NameOf(int element) const
{
    return mSource.GetElements().at(element).Name;
}

QStringView XliffDocument::RawText(qsizetype begin, qsizetype end) const
{
    return QStringView(mSource.GetText()).mid(begin, end - begin);
}

int XliffDocument::FindChild(int parent, QStringView name) const
{
    const QList<XmlSource::Element>& elements = mSource.GetElements();
    const qsizetype end = elements.at(parent).End;
    for (int i = parent + 1; i < elements.size() && elements.at(i).Begin < end; ++i) {
        if (elements.at(i).Parent == parent && elements.at(i).Name == name)
            return i;
    }
    return -1;
}

qsizetype XliffDocument::LineStartOf(int element) const
{
    const qsizetype begin = mSource.GetElements().at(element).Begin;
    return begin - mSource.GetElementPlace(element).Column + 1;
}

QString XliffDocument::IndentOf(int element) const
{
    const QStringView before = RawText(LineStartOf(element), mSource.GetElements().at(element).Begin);
    return IsBlank(before) ? before.toString() : QString();
}

QString XliffDocument::IndentStep() const
{
    if (mFiles.isEmpty())
        return u"    "_s;
    return IndentOf(mFiles.constFirst().Element).mid(IndentOf(0).size());
}

QString XliffDocument::Escape(const QString& text, bool isAttribute) const
{
    QString result;
    const QList<uint> characters = text.toUcs4();
    for (const uint c : characters) {
        if (c == U'&')
            result += "&amp;"_L1;
        else if (c == U'<')
            result += "&lt;"_L1;
        else if (c == U'>')
            result += "&gt;"_L1;
        else if (c == U'\r' || (isAttribute && c < U' ') || (c > U'~' && !mSource.IsUnicode()))
            AppendReference(result, c);
        else if (c == U'"' && isAttribute)
            result += "&quot;"_L1;
        else
            result += QChar::fromUcs4(c);
    }
    return result;
}

/// Returns the text with references, or in a CDATA section if the library would otherwise drop it (white
/// space) or remove its mark.
QString XliffDocument::EscapeContent(const QString& text) const
{
    QString copy = text;
    const bool isPlain = !IsBlank(text) && !mSource.GetFiler().StripTr(copy);
    if (isPlain)
        return Escape(text, false);
    // A CDATA section cannot contain references, and the library reads only the first of two sections.
    // Another mark around the text, which the library removes, has neither limitation.
    if (text.contains("]]>"_L1) || text.contains(u'\r') || !mSource.CanEncode(text))
        return Escape("tr("_L1 + text + u')', false);
    return "<![CDATA["_L1 + text + "]]>"_L1;
}

QString XliffDocument::ComposeLocation(int line, const QString& indent) const
{
    return indent
        + u"<context-group purpose=\"location\"><context context-type=\"linenumber\">%1</context>"_s.arg(line)
        + "</context-group>"_L1;
}

QString XliffDocument::ComposeUnit(const NewUnit& unit, const QString& indent) const
{
    const QString inner = indent + IndentStep();
    const QString space = unit.Source == unit.Source.simplified() ? QString() : u" xml:space=\"preserve\""_s;
    QStringList lines;
    lines += indent + "<trans-unit id=\""_L1 + UnitId(unit.Source) + u'"' + space + u'>';
    lines += inner + "<source>"_L1 + Escape(unit.Source, false) + "</source>"_L1;
    lines += unit.Target.isEmpty() ? inner + "<target/>"_L1
                                   : inner + "<target state=\"needs-review-translation\">"_L1
            + EscapeContent(unit.Target) + "</target>"_L1;
    if (unit.Line > 0)
        lines += ComposeLocation(unit.Line, inner);
    lines += indent + "</trans-unit>"_L1;
    return lines.join(mLineEnd);
}

QString XliffDocument::ComposeBody(const QList<NewUnit>& units, const QString& indent) const
{
    QStringList lines{indent + "<body>"_L1};
    for (const NewUnit& unit : units)
        lines += ComposeUnit(unit, indent + IndentStep());
    lines += indent + "</body>"_L1;
    return lines.join(mLineEnd);
}

bool XliffDocument::IsTargetBlank(const XliffUnit& unit) const
{
    if (unit.TargetElement < 0)
        return true;
    return IsBlank(GetContentText(unit.TargetElement));
}

bool XliffDocument::HasTarget(const XliffUnit& unit) const
{
    const QList<XmlSource::Element>& elements = mSource.GetElements();
    const auto next = static_cast<qsizetype>(unit.TargetElement) + 1;
    const bool hasElement
        = unit.TargetElement >= 0 && next < elements.size() && elements.at(next).Parent == unit.TargetElement;
    return hasElement || !unit.Target.isEmpty() || !IsBlank(unit.GetShownTarget());
}

QStringView XliffDocument::GetContentText(int element) const
{
    const XmlSource::Element& e = mSource.GetElements().at(element);
    return RawText(e.TagEnd, e.ContentEnd);
}

/// Returns the end of the attributes in a start tag: the place before white space and '>' or '/>'.
qsizetype XliffDocument::TagContentEnd(int element) const
{
    const XmlSource::Element& e = mSource.GetElements().at(element);
    return e.Begin + RawText(e.Begin, e.TagEnd - (e.IsSelfClosing() ? 2 : 1)).trimmed().size();
}

void XliffDocument::SetAttribute(int element, QStringView name, const QString& value)
{
    const QString text = Escape(value, true);
    if (const XmlSource::Attribute* attribute = mSource.FindAttribute(element, name))
        AddEdit({attribute->ValueBegin, attribute->ValueEnd, text});
    else
        Insert(TagContentEnd(element), u' ' + name.toString() + "=\""_L1 + text + u'"');
}

void XliffDocument::SetTarget(const XliffUnit& unit, const QString& text, const QString& state)
{
    const QString content = EscapeContent(text);
    if (unit.TargetElement >= 0) {
        const XmlSource::Element& target = mSource.GetElements().at(unit.TargetElement);
        const QString comments = FindComments(GetContentText(unit.TargetElement)).join(QString());
        SetState(unit, state);
        AddEdit({TagContentEnd(unit.TargetElement), target.End, u'>' + content + "</target>"_L1 + comments});
        return;
    }
    SetApproved(unit, !IsUnfinished(state));
    const int segments = FindChild(unit.Element, u"seg-source");
    const int after = segments >= 0 ? segments : unit.SourceElement;
    if (after >= 0) {
        Insert(mSource.GetElements().at(after).End,
               mLineEnd + IndentOf(after) + "<target state=\""_L1 + Escape(state, true) + "\">"_L1 + content
                   + "</target>"_L1);
    }
}

void XliffDocument::SetState(const XliffUnit& unit, const QString& state)
{
    SetApproved(unit, !IsUnfinished(state));
    SetAttribute(unit.TargetElement, u"state", state);
}

void XliffDocument::SetTargetContent(const XliffUnit& unit, const QString& text, const QStringList& after)
{
    const XmlSource::Element& target = mSource.GetElements().at(unit.TargetElement);
    const QString endTag = RawText(target.ContentEnd, target.End).toString();
    AddEdit({target.TagEnd, target.End, EscapeContent(text) + endTag + after.join(QString())});
}

void XliffDocument::SetApproved(const XliffUnit& unit, bool isApproved)
{
    if (unit.IsApproved != isApproved)
        SetAttribute(unit.Element, u"approved", isApproved ? u"yes"_s : u"no"_s);
}

void XliffDocument::SetId(const XliffUnit& unit)
{
    SetAttribute(unit.Element, u"id", UnitId(unit.Source));
}

bool XliffDocument::SetLine(const XliffUnit& unit, int line)
{
    const QList<XmlSource::Element>& elements = mSource.GetElements();
    int last = unit.Element;
    for (int i = unit.Element + 1;
         i < elements.size() && elements.at(i).Begin < elements.at(unit.Element).End; ++i) {
        const XmlSource::Element& element = elements.at(i);
        const XmlSource::Attribute* type = mSource.FindAttribute(i, u"context-type");
        if (element.Name == u"context" && type && elements.at(element.Parent).Parent == unit.Element
            && RawText(type->ValueBegin, type->ValueEnd) == u"linenumber") {
            const QString number = QString::number(line);
            if (RawText(element.TagEnd, element.ContentEnd) == number || element.IsSelfClosing())
                return false;
            AddEdit({element.TagEnd, element.ContentEnd, number});
            return true;
        }
        if (element.Parent == unit.Element && IsText(element.Name))
            last = i;
    }
    if (last == unit.Element)
        return false;
    Insert(elements.at(last).End, mLineEnd + ComposeLocation(line, IndentOf(last)));
    return true;
}

void XliffDocument::SetTargetLanguage(const XliffFile& file, const QString& language)
{
    SetAttribute(file.Element, u"target-language", language);
}

void XliffDocument::AddUnits(const XliffFile& file, const XliffUnit* after, const QList<NewUnit>& units)
{
    if (units.isEmpty())
        return;
    const QList<XmlSource::Element>& elements = mSource.GetElements();
    if (after) {
        QString text;
        for (const NewUnit& unit : units)
            text += mLineEnd + ComposeUnit(unit, IndentOf(after->Element));
        Insert(elements.at(after->Element).End, text);
    } else if (file.Body < 0) {
        AppendChild(file.Element, ComposeBody(units, IndentOf(file.Element) + IndentStep()));
    } else if (const int next = file.Body + 1;
               next < elements.size() && elements.at(next).Parent == file.Body) {
        QString text;
        for (const NewUnit& unit : units)
            text += ComposeUnit(unit, IndentOf(next)) + mLineEnd;
        // If the first unit is removed too, its whole line is removed, so insert before the line.
        const qsizetype lineStart = LineStartOf(next);
        const bool beginsLine = IsBlank(RawText(lineStart, elements.at(next).Begin));
        Insert(beginsLine ? lineStart : elements.at(next).Begin, text);
    } else {
        for (const NewUnit& unit : units)
            AppendChild(file.Body, ComposeUnit(unit, IndentOf(file.Body) + IndentStep()));
    }
}

void XliffDocument::AddFile(const QString& original, const QString& sourceLanguage,
                            const QString& targetLanguage, const QList<NewUnit>& units)
{
    const QString indent = IndentOf(0) + IndentStep();
    QString text = indent + "<file original=\""_L1 + Escape(original, true) + "\" source-language=\""_L1
        + Escape(sourceLanguage, true) + "\" target-language=\""_L1 + Escape(targetLanguage, true)
        + "\" datatype=\"xml\">"_L1 + mLineEnd;
    text += ComposeBody(units, indent + IndentStep()) + mLineEnd;
    AppendChild(0, text + indent + "</file>"_L1);
}

void XliffDocument::AddEdit(const Edit& edit)
{
    mEdits.append(edit);
    mIsSorted = false;
}

void XliffDocument::RemoveElement(int element)
{
    AddEdit(ComposeRemoval(element));
}

XliffDocument::Edit XliffDocument::ComposeRemoval(int element) const
{
    const XmlSource::Element& e = mSource.GetElements().at(element);
    const QString& text = mSource.GetText();
    qsizetype lineEnd = e.End;
    while (lineEnd < text.size() && text.at(lineEnd) != u'\n')
        ++lineEnd;
    const bool isAlone = IsBlank(RawText(LineStartOf(element), e.Begin)) && IsBlank(RawText(e.End, lineEnd));
    if (isAlone)
        return {LineStartOf(element), std::min(lineEnd + 1, text.size()), {}};
    return {e.Begin, e.End, {}};
}

void XliffDocument::ReplaceElement(int element, const QString& text)
{
    const XmlSource::Element& e = mSource.GetElements().at(element);
    Edit edit = text.isEmpty() ? ComposeRemoval(element) : Edit{e.Begin, e.End, text};
    edit.CoveredEnd = e.End;
    AddEdit(edit);
}

void XliffDocument::AppendText(int element, const QString& text)
{
    const XmlSource::Element& e = mSource.GetElements().at(element);
    const QStringView content = RawText(e.TagEnd, e.ContentEnd);
    qsizetype size = content.size();
    while (size > 0 && content.at(size - 1).isSpace())
        --size;
    Insert(e.TagEnd + size, text);
}

void XliffDocument::SortEdits(QList<Edit>& edits)
{
    std::stable_sort(edits.begin(), edits.end(),
                     [](const Edit& a, const Edit& b) { return a.Begin < b.Begin; });
}

/// Returns the text from \p begin to \p end, after the edits that begin in this range. \p edits must be
/// sorted.
QString XliffDocument::Apply(const QList<Edit>& edits, qsizetype begin, qsizetype end) const
{
    QString result;
    qsizetype position = begin;
    qsizetype coveredEnd = 0;
    auto edit = std::lower_bound(edits.cbegin(), edits.cend(), begin,
                                 [](const Edit& e, qsizetype offset) { return e.Begin < offset; });
    for (; edit != edits.cend() && edit->Begin < end; ++edit) {
        if (edit->Begin < coveredEnd)
            continue;
        coveredEnd = std::max(coveredEnd, edit->CoveredEnd);
        if (edit->Begin > position)
            result += RawText(position, edit->Begin);
        result += edit->Text;
        position = std::max(position, edit->End);
    }
    if (position < end)
        result += RawText(position, end);
    return result;
}

QString XliffDocument::GetRange(qsizetype begin, qsizetype end)
{
    if (!mIsSorted)
        SortEdits(mEdits);
    mIsSorted = true;
    return Apply(mEdits, begin, end);
}

XliffDocument::Edit XliffDocument::ComposeAppended(int parent, const QStringList& children) const
{
    const XmlSource::Element& e = mSource.GetElements().at(parent);
    const QString tail = mLineEnd + children.join(mLineEnd) + mLineEnd + IndentOf(parent);
    if (e.IsSelfClosing())
        return {TagContentEnd(parent), e.End, u'>' + tail + "</"_L1 + e.Name.toString() + u'>'};
    qsizetype end = e.ContentEnd;
    while (end > e.TagEnd && mSource.GetText().at(end - 1).isSpace())
        --end;
    return {end, e.ContentEnd, tail};
}

QString XliffDocument::GetChanged() const
{
    QList<Edit> edits = mEdits;
    for (auto it = mAppended.cbegin(); it != mAppended.cend(); ++it)
        edits.append(ComposeAppended(it.key(), it.value()));
    SortEdits(edits);
    return Apply(edits, 0, mSource.GetText().size());
}

QByteArray XliffDocument::GetContent(const QString& path) const
{
    const QString text = GetChanged();
    // Protect translations from errors in this program: never replace a file with one that does not load.
    if (Util::XmlFiler probe; !probe.LoadFromXmlString(text))
        throw Failure(path, u"would not load after the change; the old content is kept"_s);
    return mSource.Encode(text);
}

void XliffDocument::Save(const QString& path) const
{
    const SaveAttempt attempt(path);
    if (!Util::Platform::ReplaceFile(path, GetContent(path)))
        attempt.Fail();
}

} // namespace Quorvin::Tool
