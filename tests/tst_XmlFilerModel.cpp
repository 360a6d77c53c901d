// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "XmlFiler.h"
#include "support/TestSupport.h"

#include <QRandomGenerator>
#include <QRegularExpression>

#include <algorithm>
#include <memory>
#include <span>
#include <vector>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;

// A second implementation of the document, the cursor and the node stack, so simple that it is obviously
// correct. Random operations are applied to both, which must agree after each one. The rows of the other
// tst_XmlFiler programs show what each operation should do.

namespace {

// A plain tree with a cursor, which defines the result of each operation.

struct Node
{
    QDomNode::NodeType Type;
    QString Name;
    QString Value;
    QMap<QString, QString> Attributes;
    std::vector<Node*> Children;
    Node* Parent = nullptr;
};

class Model
{
public:
    Model() { mDocument = Make(QDomNode::DocumentNode, u"#document"_s, QString()); }

    [[nodiscard]] Node* Cursor() const { return mCursor; }
    [[nodiscard]] Node* Root() const { return FirstElement(mDocument, QString()); }
    [[nodiscard]] QString Path() const;
    [[nodiscard]] size_t Size() const { return Count(mDocument); }
    [[nodiscard]] size_t Depth() const { return mStack.size(); }
    [[nodiscard]] static QString Describe(const Node* top);
    [[nodiscard]] static QString DescribeMarkup(const Node* element);
    [[nodiscard]] static const Node* Top(const Node* node);

    bool Load(const QString& xml);
    void Reset();
    void CreateXmlDeclaration();
    void CreateProcessingInstruction(const QString& target, const QString& data);
    void CreateRoot(const QString& name);
    bool Walk(const QString& path, bool create, bool alwaysNewLast);
    void CreateImmediateChildNode(const QString& name);
    void MoveToRoot() { mCursor = Root(); }
    bool MoveTo(Node* node);
    bool MoveToFirstChild() { return MoveTo(FirstElement(mCursor, QString())); }
    bool MoveToImmediateChildNode(const QString& name) { return MoveTo(FirstElement(mCursor, name)); }
    bool MoveToNextSibling();
    bool MoveToParent() { return mCursor != nullptr && MoveTo(mCursor->Parent); }
    void DeleteNode();
    void DeleteNode(const QString& path);
    void DeleteChildNodes();
    void Push() { mStack.push_back(mCursor); }
    void Pop();
    void WriteAttribute(const QString& name, const QString& value);
    void WriteText(QDomNode::NodeType type, const QString& text);
    bool WriteInnerXml(const QString& xml);
    void WriteComment(const QString& text);
    [[nodiscard]] QString ReadAttribute(const QString& name) const;
    [[nodiscard]] QString ReadText() const;

private:
    Node* Make(QDomNode::NodeType type, const QString& name, const QString& value);
    Node* Copy(const QDomNode& node);
    static void Append(Node* parent, Node* child);
    static void Remove(Node* node);
    [[nodiscard]] static Node* FirstElement(const Node* parent, const QString& name);
    [[nodiscard]] static size_t Count(const Node* node);
    static void Describe(const Node* node, const QString& indent, QString& result);

    std::vector<std::unique_ptr<Node>> mNodes;
    Node* mDocument = nullptr;
    Node* mCursor = nullptr;
    std::vector<Node*> mStack;
};

Node* Model::Make(QDomNode::NodeType type, const QString& name, const QString& value)
{
    mNodes.push_back(std::make_unique<Node>(Node{type, name, value, {}, {}, nullptr}));
    return mNodes.back().get();
}

Node* Model::Copy(const QDomNode& node)
{
    Node* const copy = Make(node.nodeType(), node.nodeName(), node.nodeValue());
    const QDomNamedNodeMap attributes = node.attributes();
    for (int i = 0; i < attributes.count(); ++i)
        copy->Attributes.insert(attributes.item(i).nodeName(), attributes.item(i).nodeValue());
    for (QDomNode child = node.firstChild(); !child.isNull(); child = child.nextSibling())
        Append(copy, Copy(child));
    return copy;
}

void Model::Append(Node* parent, Node* child)
{
    parent->Children.push_back(child);
    child->Parent = parent;
}

void Model::Remove(Node* node)
{
    std::erase(node->Parent->Children, node);
    node->Parent = nullptr;
}

Node* Model::FirstElement(const Node* parent, const QString& name)
{
    if (parent == nullptr)
        return nullptr;
    for (Node* const child : parent->Children) {
        if (child->Type == QDomNode::ElementNode && (name.isEmpty() || child->Name == name))
            return child;
    }
    return nullptr;
}

size_t Model::Count(const Node* node)
{
    size_t count = 1;
    for (const Node* const child : node->Children)
        count += Count(child);
    return count;
}

const Node* Model::Top(const Node* node)
{
    while (node != nullptr && node->Parent != nullptr)
        node = node->Parent;
    return node;
}

void Model::Describe(const Node* node, const QString& indent, QString& result)
{
    if (node->Type == QDomNode::ElementNode) {
        result += indent + u"<%1>\n"_s.arg(node->Name);
        for (auto it = node->Attributes.cbegin(); it != node->Attributes.cend(); ++it)
            result += indent + u" @%1=[%2]\n"_s.arg(it.key(), it.value());
    } else if (node->Type != QDomNode::DocumentNode) {
        result += indent + u"%1 %2=[%3]\n"_s.arg(QString::number(node->Type), node->Name, node->Value);
    }
    for (const Node* const child : node->Children)
        Describe(child, indent + u' ', result);
}

QString Model::Describe(const Node* top)
{
    QString result;
    if (top != nullptr)
        Describe(top, QString(), result);
    return result;
}

/// Like Describe, but as if the nodes had been written and parsed: adjacent texts are merged and empty ones
/// omitted.
QString Model::DescribeMarkup(const Node* element)
{
    static const QRegularExpression lineStart(u"^(?=.)"_s, QRegularExpression::MultilineOption);
    if (element == nullptr || element->Type != QDomNode::ElementNode)
        return {};
    QString result;
    Describe(
        std::make_unique<Node>(Node{element->Type, element->Name, {}, element->Attributes, {}, {}}).get(),
        QString(), result);
    QString text;
    const auto flush = [&text, &result] {
        if (!text.isEmpty())
            result += u" %1 #text=[%2]\n"_s.arg(QString::number(QDomNode::TextNode), text);
        text.clear();
    };
    for (const Node* const child : element->Children) {
        if (child->Type == QDomNode::TextNode) {
            text += child->Value;
            continue;
        }
        flush();
        if (child->Type == QDomNode::ElementNode)
            result += DescribeMarkup(child).replace(lineStart, u" "_s);
        else
            Describe(child, u" "_s, result);
    }
    flush();
    return result;
}

QString Model::Path() const
{
    QString path;
    const Node* const root = Root();
    for (const Node* node = mCursor; node != nullptr; node = node->Parent) {
        path.prepend(u'/' + node->Name);
        if (node == root)
            break;
    }
    return path;
}

bool Model::Load(const QString& xml)
{
    while (!mDocument->Children.empty())
        Remove(mDocument->Children.front());
    QDomDocument parsed;
    if (!parsed.setContent(xml))
        return false;
    for (QDomNode child = parsed.firstChild(); !child.isNull(); child = child.nextSibling())
        Append(mDocument, Copy(child));
    MoveToRoot();
    return true;
}

void Model::Reset()
{
    // If the document itself is saved on the stack, it keeps its content.
    if (std::find(mStack.begin(), mStack.end(), mDocument) == mStack.end()) {
        while (!mDocument->Children.empty())
            Remove(mDocument->Children.front());
    }
    mDocument = Make(QDomNode::DocumentNode, u"#document"_s, QString());
    mCursor = nullptr;
}

void Model::CreateXmlDeclaration()
{
    for (const Node* const child : mDocument->Children) {
        if (child->Name == u"xml" && child->Type == QDomNode::ProcessingInstructionNode)
            return;
    }
    CreateProcessingInstruction(u"xml"_s, u"version=\"1.0\""_s);
}

void Model::CreateProcessingInstruction(const QString& target, const QString& data)
{
    Node* const instruction = Make(QDomNode::ProcessingInstructionNode, target, data);
    std::vector<Node*>& children = mDocument->Children;
    children.insert(std::find(children.begin(), children.end(), Root()), instruction);
    instruction->Parent = mDocument;
}

void Model::CreateRoot(const QString& name)
{
    if (Root() != nullptr)
        return;
    CreateXmlDeclaration();
    Walk(name.isEmpty() ? u"Root"_s : name, true, false);
}

bool Model::Walk(const QString& path, bool create, bool alwaysNewLast)
{
    QString text = path.trimmed().replace(u'\\', u'/');
    if (text.isEmpty())
        return true;
    Node* const saved = mCursor;
    QStringList steps = text.split(u'/', Qt::SkipEmptyParts);
    if (text.startsWith(u'/')) {
        if (!steps.isEmpty() && Root() != nullptr && steps.first() == Root()->Name)
            steps.removeFirst();
        MoveToRoot();
    }
    for (qsizetype i = 0; i < steps.size(); ++i) {
        const bool forceNew = create && alwaysNewLast && i == steps.size() - 1;
        if (!forceNew && MoveToImmediateChildNode(steps[i]))
            continue;
        if (!create) {
            mCursor = saved;
            return false;
        }
        CreateImmediateChildNode(steps[i]);
    }
    return true;
}

void Model::CreateImmediateChildNode(const QString& name)
{
    Node* const element = Make(QDomNode::ElementNode, name, QString());
    Append(mCursor == nullptr ? mDocument : mCursor, element);
    mCursor = element;
}

bool Model::MoveTo(Node* node)
{
    if (node == nullptr)
        return false;
    mCursor = node;
    return true;
}

bool Model::MoveToNextSibling()
{
    if (mCursor == nullptr || mCursor->Parent == nullptr)
        return false;
    const std::vector<Node*>& siblings = mCursor->Parent->Children;
    const auto isElement = [](const Node* node) { return node->Type == QDomNode::ElementNode; };
    const auto next
        = std::find_if(std::find(siblings.begin(), siblings.end(), mCursor) + 1, siblings.end(), isElement);
    return next != siblings.end() && MoveTo(*next);
}

void Model::DeleteNode()
{
    if (mCursor == nullptr || mCursor->Parent == nullptr)
        return;
    Node* const parent = mCursor->Parent;
    Remove(mCursor);
    mCursor = parent;
}

void Model::DeleteNode(const QString& path)
{
    Node* const saved = mCursor;
    if (!Walk(path, false, false) || mCursor == nullptr || mCursor->Parent == nullptr)
        return;
    Node* const parent = mCursor->Parent;
    Remove(mCursor);
    mCursor = saved == nullptr ? parent : saved;
}

void Model::DeleteChildNodes()
{
    while (mCursor != nullptr && !mCursor->Children.empty())
        Remove(mCursor->Children.front());
}

void Model::Pop()
{
    mCursor = mStack.back();
    mStack.pop_back();
}

void Model::WriteAttribute(const QString& name, const QString& value)
{
    if (mCursor != nullptr && mCursor->Type == QDomNode::ElementNode)
        mCursor->Attributes.insert(name, value);
}

void Model::WriteText(QDomNode::NodeType type, const QString& text)
{
    if (mCursor == nullptr || mCursor->Type != QDomNode::ElementNode)
        return;
    DeleteChildNodes();
    const QString name = type == QDomNode::TextNode ? u"#text"_s : u"#cdata-section"_s;
    Append(mCursor, Make(type, name, text));
}

bool Model::WriteInnerXml(const QString& xml)
{
    QDomDocument parsed;
    if (!parsed.setContent(u"<Root>"_s + xml + u"</Root>"_s) || !parsed.documentElement().hasChildNodes())
        return false;
    if (Root() == nullptr)
        Walk(u"Root"_s, true, false);
    if (mCursor == nullptr)
        return false;
    QDomNode child = parsed.documentElement().firstChild();
    for (; !child.isNull(); child = child.nextSibling())
        Append(mCursor, Copy(child));
    return true;
}

void Model::WriteComment(const QString& text)
{
    if (mCursor == nullptr)
        CreateXmlDeclaration();
    Append(mCursor == nullptr ? mDocument : mCursor, Make(QDomNode::CommentNode, u"#comment"_s, text));
}

QString Model::ReadAttribute(const QString& name) const
{
    return mCursor == nullptr ? QString() : mCursor->Attributes.value(name);
}

QString Model::ReadText() const
{
    if (mCursor == nullptr || mCursor->Type != QDomNode::ElementNode || mCursor->Children.empty())
        return {};
    const Node* const first = mCursor->Children.front();
    const bool isText = first->Type == QDomNode::TextNode || first->Type == QDomNode::CDATASectionNode;
    return isText ? first->Value : QString();
}

/// Applies random operations to a filer and to the model, and compares them after each one.
class RandomWalk
{
public:
    /// \param withHandles  whether to access the filer's nodes too, which turns its caching off
    RandomWalk(quint32 seed, bool withHandles)
        : mRandom(seed)
        , mWithHandles(withHandles)
    { }

    /// \return a description of the first difference; empty if there is none
    QString Run(int count);
    /// Reads a few paths repeatedly while elements are appended and, occasionally, removed.
    QString RunAppends(int count);

private:
    using Operation = void (RandomWalk::*)();

    void Documents();
    void Creation();
    void Movement();
    void Deletion();
    void Stack();
    void NameWrites();
    void PathWrites();
    void Reads();
    void AppendElement();
    void ReadKnownPaths();

    void Apply(std::span<const Operation> operations, int count);
    [[nodiscard]] QString Problem() const;
    void Expect(bool actual, bool expected);
    void Expect(const QString& actual, const QString& expected);
    void Compare();
    void CompareNodes();
    void CompareDocument();
    [[nodiscard]] QString OuterMeaning();
    template <typename Do> void AtPath(const QString& path, bool create, Do action);
    [[nodiscard]] int Pick(int end) { return int(mRandom.bounded(end)); }
    [[nodiscard]] bool Flag() { return Pick(2) == 1; }
    [[nodiscard]] QString Name();
    [[nodiscard]] QString PathText();
    [[nodiscard]] QString Markup();

    QRandomGenerator mRandom;
    bool mWithHandles;
    XmlFiler mFiler;
    Model mModel;
    QStringList mHistory;
    QString mError;
    int mNumber = 0; // of the next appended element
};

QString RandomWalk::Name()
{
    static const QStringList names = {u"A"_s, u"B"_s, u"C"_s, u"r"_s};
    return names[Pick(int(names.size()))];
}

QString RandomWalk::PathText()
{
    static const QStringList separators = {u"/"_s, u"\\"_s, u"//"_s};
    QString path;
    switch (Pick(8)) {
    case 0:
        return u" "_s;
    case 1:
        return u"/"_s;
    case 2:
    case 3:
    case 4:
        path = Flag() ? u"/"_s : u"\\"_s;
        break;
    default:
        break;
    }
    path += Name();
    while (Pick(3) != 0)
        path += separators[Pick(int(separators.size()))] + Name();
    return path;
}

QString RandomWalk::Markup()
{
    static const QStringList markups = {
        u"<A>t<B a=\"1\"/><C><A/></C><!--A--><?B x?></A>"_s,
        u"<r><?A x?><A/><A><B/></A><B>t</B></r>"_s,
        u"<A/>"_s,
        u"<r>text</r>"_s,
        u"<B><![CDATA[d]]><C b=\"2\"><C/></C></B>"_s,
        u"<A><B></A>"_s, // does not parse
    };
    return markups[Pick(int(markups.size()))];
}

void RandomWalk::Expect(bool actual, bool expected)
{
    Expect(actual ? u"true"_s : u"false"_s, expected ? u"true"_s : u"false"_s);
}

void RandomWalk::Expect(const QString& actual, const QString& expected)
{
    if (mError.isEmpty() && actual != expected)
        mError = u"got\n%1\nwanted\n%2"_s.arg(actual, expected);
}

/// Describes the markup of the element under the cursor.
QString RandomWalk::OuterMeaning()
{
    QDomDocument parsed;
    QString description;
    if (parsed.setContent(mFiler.ReadOuterXml()))
        TestSupport::AppendMeaning(parsed.documentElement(), QString(), description);
    return description;
}

void RandomWalk::CompareDocument()
{
    Expect(mFiler.IsEmpty(), mModel.Root() == nullptr);
    if (mFiler.IsEmpty()) {
        Expect(mFiler.SaveAsXmlString(), QString());
        return;
    }
    mFiler.PushCurrentNode();
    mFiler.MoveToRoot();
    if (mWithHandles) {
        QString description;
        TestSupport::AppendMeaning(mFiler.GetCurrentNode().parentNode(), QString(), description);
        Expect(description, Model::Describe(mModel.Root()->Parent));
    } else {
        Expect(OuterMeaning(), Model::DescribeMarkup(mModel.Root()));
    }
    mFiler.PopCurrentNode();
}

void RandomWalk::CompareNodes()
{
    QDomNode top = mFiler.GetCurrentNode();
    while (!top.parentNode().isNull())
        top = top.parentNode();
    QString description;
    if (!top.isNull())
        TestSupport::AppendMeaning(top, QString(), description);
    Expect(description, Model::Describe(Model::Top(mModel.Cursor())));
}

void RandomWalk::Compare()
{
    Expect(mFiler.GetCurrentNodePath(), mModel.Path());
    if (mWithHandles)
        CompareNodes();
    else
        Expect(OuterMeaning(), Model::DescribeMarkup(mModel.Cursor()));
    // Compare only sometimes: comparing moves the cursor, which clears part of the filer's cache.
    if (Flag())
        CompareDocument();
}

void RandomWalk::Documents()
{
    const QString markup = Markup();
    switch (Pick(6)) {
    case 0:
        mHistory.append(u"Reset"_s);
        mFiler.Reset();
        mModel.Reset();
        break;
    case 1:
        mHistory.append(u"CreateXmlDeclaration"_s);
        mFiler.CreateXmlDeclaration();
        mModel.CreateXmlDeclaration();
        break;
    case 2:
        mHistory.append(u"CreateProcessingInstruction"_s);
        mFiler.CreateProcessingInstruction(u"A"_s, u"x"_s);
        mModel.CreateProcessingInstruction(u"A"_s, u"x"_s);
        break;
    case 3:
        mHistory.append(u"CreateRoot"_s);
        mFiler.CreateRoot(u"r"_s);
        mModel.CreateRoot(u"r"_s);
        break;
    default:
        mHistory.append(u"LoadFromXmlString "_s + markup);
        Expect(mFiler.LoadFromXmlString(markup), mModel.Load(markup));
        break;
    }
}

void RandomWalk::Creation()
{
    const QString path = PathText();
    const QString name = Name();
    const bool create = Flag();
    const bool alwaysNewLast = Flag();
    switch (Pick(3)) {
    case 0:
        mHistory.append(u"CreateImmediateChildNode "_s + name);
        mFiler.CreateImmediateChildNode(name);
        mModel.CreateImmediateChildNode(name);
        break;
    case 1:
        mHistory.append(u"CreateNode %1 %2"_s.arg(path).arg(alwaysNewLast));
        Expect(mFiler.CreateNode(path, alwaysNewLast), mModel.Walk(path, true, !alwaysNewLast));
        break;
    default:
        mHistory.append(u"CreateOrMoveToNode %1 %2 %3"_s.arg(path).arg(create).arg(alwaysNewLast));
        Expect(mFiler.CreateOrMoveToNode(path, create, alwaysNewLast),
               mModel.Walk(path, create, alwaysNewLast));
        break;
    }
}

void RandomWalk::Movement()
{
    const QString path = PathText();
    const QString name = Name();
    switch (Pick(6)) {
    case 0:
        mHistory.append(u"MoveToRoot"_s);
        mFiler.MoveToRoot();
        mModel.MoveToRoot();
        break;
    case 1:
        mHistory.append(u"MoveToFirstChild"_s);
        Expect(mFiler.MoveToFirstChild(), mModel.MoveToFirstChild());
        break;
    case 2:
        mHistory.append(u"MoveToNode "_s + path);
        Expect(mFiler.MoveToNode(path), mModel.Walk(path, false, false));
        break;
    case 3:
        mHistory.append(u"MoveToImmediateChildNode "_s + name);
        Expect(mFiler.MoveToImmediateChildNode(name), mModel.MoveToImmediateChildNode(name));
        break;
    case 4:
        mHistory.append(u"MoveToNextSibling"_s);
        Expect(mFiler.MoveToNextSibling(), mModel.MoveToNextSibling());
        break;
    default:
        mHistory.append(u"MoveToParent"_s);
        Expect(mFiler.MoveToParent(), mModel.MoveToParent());
        break;
    }
}

void RandomWalk::Deletion()
{
    const QString path = PathText();
    switch (Pick(4)) {
    case 0:
        mHistory.append(u"DeleteNode"_s);
        mFiler.DeleteNode();
        mModel.DeleteNode();
        break;
    case 1:
        mHistory.append(u"DeleteNode "_s + path);
        mFiler.DeleteNode(path);
        mModel.DeleteNode(path);
        break;
    case 2:
        mHistory.append(u"DeleteChildNodes"_s);
        mFiler.DeleteChildNodes();
        mModel.DeleteChildNodes();
        break;
    default:
        mHistory.append(u"DeleteChildNodes "_s + path);
        mFiler.DeleteChildNodes(path);
        AtPath(path, false, [this] { mModel.DeleteChildNodes(); });
        break;
    }
}

void RandomWalk::Stack()
{
    if (mModel.Depth() < 4 && Pick(5) != 0) {
        mHistory.append(u"PushCurrentNode"_s);
        mFiler.PushCurrentNode();
        mModel.Push();
    } else if (mModel.Depth() > 0) {
        mHistory.append(u"PopCurrentNode"_s);
        mFiler.PopCurrentNode();
        mModel.Pop();
    }
}

void RandomWalk::NameWrites()
{
    const QString value = QString::number(Pick(3));
    const QString markup = Markup();
    switch (Pick(5)) {
    case 0:
        mHistory.append(u"WriteString"_s);
        mFiler.WriteString(u"a"_s, value);
        mModel.WriteAttribute(u"a"_s, value);
        break;
    case 1:
        mHistory.append(u"WriteNodeText"_s);
        mFiler.WriteNodeText(value, false);
        mModel.WriteText(QDomNode::TextNode, value);
        break;
    case 2:
        mHistory.append(u"WriteBuffer"_s);
        mFiler.WriteBuffer("abc");
        mModel.WriteText(QDomNode::CDATASectionNode, u"YWJj"_s);
        break;
    case 3:
        mHistory.append(u"WriteInnerXml "_s + markup);
        Expect(mFiler.WriteInnerXml(markup), mModel.WriteInnerXml(markup));
        break;
    default:
        mHistory.append(u"WriteComment"_s);
        mFiler.WriteComment(value);
        mModel.WriteComment(value);
        break;
    }
}

/// Performs an operation with a path: saves the cursor, walks, acts, and restores the cursor.
template <typename Do> void RandomWalk::AtPath(const QString& path, bool create, Do action)
{
    mModel.Push();
    if (mModel.Walk(path, create, false))
        action();
    mModel.Pop();
}

void RandomWalk::PathWrites()
{
    const QString path = PathText();
    const QString value = QString::number(Pick(3));
    const QString markup = Markup();
    mHistory.append(u"write at "_s + path);
    switch (Pick(5)) {
    case 0:
        mFiler.WriteInt(path, u"b"_s, value.toInt());
        AtPath(path, true, [&] { mModel.WriteAttribute(u"b"_s, value); });
        break;
    case 1:
        mFiler.WriteNodeText(path, value, true);
        AtPath(path, true, [&] { mModel.WriteText(QDomNode::CDATASectionNode, value); });
        break;
    case 2:
        mFiler.WriteBuffer(path, "abc");
        AtPath(path, true, [&] { mModel.WriteText(QDomNode::CDATASectionNode, u"YWJj"_s); });
        break;
    case 3: {
        bool expected = false;
        AtPath(path, true, [&] { expected = mModel.WriteInnerXml(markup); });
        Expect(mFiler.WriteInnerXml(path, markup), expected);
        break;
    }
    default:
        mFiler.WriteComment(path, value);
        AtPath(path, true, [&] { mModel.WriteComment(value); });
        break;
    }
}

void RandomWalk::Reads()
{
    const QString path = PathText();
    mHistory.append(u"read at "_s + path);
    Expect(mFiler.ReadString(u"a"_s, QString()), mModel.ReadAttribute(u"a"_s));
    Expect(mFiler.ReadNodeText(), mModel.ReadText());
    QString attribute;
    QString text;
    AtPath(path, false, [&] {
        attribute = mModel.ReadAttribute(u"a"_s);
        text = mModel.ReadText();
    });
    Expect(mFiler.ReadString(path, u"a"_s, QString()), attribute);
    Expect(mFiler.ReadNodeText(path), text);
    (void)mFiler.ReadOuterXml(path);
    (void)mFiler.ReadInnerXml();
    (void)mFiler.ReadBuffer(path);
    (void)mFiler.ResolveVariables({{u"x"_s, u"y"_s}});
}

void RandomWalk::AppendElement()
{
    const QString name = Name();
    const QString number = QString::number(mNumber++);
    mHistory.append(u"append "_s + name);
    mFiler.PushCurrentNode();
    mModel.Push();
    mFiler.CreateImmediateChildNode(name);
    mModel.CreateImmediateChildNode(name);
    mFiler.WriteString(u"a"_s, number); // distinguishes elements with the same name
    mModel.WriteAttribute(u"a"_s, number);
    if (Flag()) {
        mFiler.PopCurrentNode();
        mModel.Pop();
    }
}

// Does not move the cursor between the reads, so that all these paths can be in the filer's cache.
void RandomWalk::ReadKnownPaths()
{
    static const QStringList paths = {u"A"_s,    u"B"_s,  u"A/B"_s,    u"A/B/C"_s, u"/"_s,
                                      u"/r/A"_s, u"/A"_s, u"/r/A/A"_s, u"/B/C"_s,  u"/C/A/B"_s};
    mHistory.append(u"read all known paths"_s);
    for (const QString& path : paths) {
        QString attribute;
        AtPath(path, false, [&] { attribute = mModel.ReadAttribute(u"a"_s); });
        Expect(mFiler.ReadString(path, u"a"_s, QString()), attribute);
    }
}

QString RandomWalk::Run(int count)
{
    static constexpr Operation kOperations[]
        = {&RandomWalk::Documents, &RandomWalk::Creation,   &RandomWalk::Creation,   &RandomWalk::Movement,
           &RandomWalk::Movement,  &RandomWalk::Deletion,   &RandomWalk::Stack,      &RandomWalk::Stack,
           &RandomWalk::Reads,     &RandomWalk::NameWrites, &RandomWalk::PathWrites, &RandomWalk::PathWrites};
    Apply(kOperations, count);
    return Problem();
}

QString RandomWalk::RunAppends(int count)
{
    static constexpr Operation kOperations[]
        = {&RandomWalk::AppendElement, &RandomWalk::AppendElement, &RandomWalk::Creation,
           &RandomWalk::Movement,      &RandomWalk::Deletion,      &RandomWalk::Stack,
           &RandomWalk::NameWrites,    &RandomWalk::PathWrites,    &RandomWalk::ReadKnownPaths,
           &RandomWalk::ReadKnownPaths};
    mFiler.LoadFromXmlString(u"<r/>"_s);
    mModel.Load(u"<r/>"_s);
    Apply(kOperations, count);
    return Problem();
}

void RandomWalk::Apply(std::span<const Operation> operations, int count)
{
    for (int i = 0; i < count && mError.isEmpty(); ++i) {
        if (mModel.Size() > 100) {
            mHistory.append(u"LoadFromXmlString <r/>"_s);
            Expect(mFiler.LoadFromXmlString(u"<r/>"_s), mModel.Load(u"<r/>"_s));
        }
        (this->*operations[static_cast<size_t>(Pick(int(operations.size())))])();
        Compare();
    }
}

QString RandomWalk::Problem() const
{
    return mError.isEmpty() ? mError
                            : mHistory.mid(qMax(0, mHistory.size() - 25)).join(u'\n') + u'\n' + mError;
}

} // namespace

class tst_XmlFilerModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::FailOnAnyMessage(); }

    void RandomOperations_data();
    void RandomOperations();
    void AppendsBetweenReads_data() { RandomOperations_data(); }
    void AppendsBetweenReads();
};

void tst_XmlFilerModel::RandomOperations_data()
{
    QTest::addColumn<quint32>("seed");

    for (quint32 seed = 1; seed <= 30; ++seed)
        QTest::addRow("seed %u", seed) << seed;
    // For long runs under a memory checker.
    bool ok = false;
    const quint32 own = qEnvironmentVariable("QVUTIL_TEST_SEED").toUInt(&ok);
    if (ok)
        QTest::addRow("own seed %u", own) << own;
}

void tst_XmlFilerModel::RandomOperations()
{
    QFETCH(const quint32, seed);

    const QString error = RandomWalk(seed, seed % 3 == 0).Run(500);

    QVERIFY2(error.isEmpty(), qPrintable(error));
}

void tst_XmlFilerModel::AppendsBetweenReads()
{
    QFETCH(const quint32, seed);

    const QString error = RandomWalk(seed, false).RunAppends(500);

    QVERIFY2(error.isEmpty(), qPrintable(error));
}

QTEST_GUILESS_MAIN(tst_XmlFilerModel)
#include "tst_XmlFilerModel.moc"
