// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Compiled but never run: checks that operations have exactly the types that applications were written
// against. Applications may store pointers to them, call const operations on const objects, and use C++17.

#include <qvutil/BooleanExpressionEvaluator.h>
#include <qvutil/GeneralUtil.h>
#include <qvutil/Settings.h>
#include <qvutil/XlfTranslator.h>
#include <qvutil/XmlFiler.h>

#include <type_traits>

using namespace Quorvin::Util;

namespace {

// Compiles only if the operation has exactly this type.
template <typename Type, Type> constexpr bool kHas = true;

using Name = const QString&;
using Rows = EnumValueName*;

// The document and the cursor

static_assert(std::is_default_constructible_v<XmlFiler>);
static_assert(kHas<bool (XmlFiler::*)(Name), &XmlFiler::LoadFromXmlFile>);
static_assert(kHas<bool (XmlFiler::*)(Name), &XmlFiler::LoadFromXmlString>);
static_assert(kHas<bool (XmlFiler::*)(Name), &XmlFiler::SaveAsXmlFile>);
static_assert(kHas<QString (XmlFiler::*)(), &XmlFiler::SaveAsXmlString>);
static_assert(kHas<bool (XmlFiler::*)() const, &XmlFiler::IsEmpty>);
static_assert(kHas<void (XmlFiler::*)(), &XmlFiler::Reset>);
static_assert(kHas<void (XmlFiler::*)(), &XmlFiler::CreateXmlDeclaration>);
static_assert(kHas<void (XmlFiler::*)(Name, Name), &XmlFiler::CreateProcessingInstruction>);
static_assert(kHas<void (XmlFiler::*)(Name), &XmlFiler::CreateRoot>);
static_assert(kHas<bool (XmlFiler::*)(Name, bool), &XmlFiler::CreateNode>);
static_assert(kHas<bool (XmlFiler::*)(Name, bool, bool), &XmlFiler::CreateOrMoveToNode>);
static_assert(kHas<void (XmlFiler::*)(Name), &XmlFiler::CreateImmediateChildNode>);
static_assert(kHas<void (XmlFiler::*)(), &XmlFiler::MoveToRoot>);
static_assert(kHas<bool (XmlFiler::*)(), &XmlFiler::MoveToFirstChild>);
static_assert(kHas<bool (XmlFiler::*)(Name), &XmlFiler::MoveToNode>);
static_assert(kHas<bool (XmlFiler::*)(Name), &XmlFiler::MoveToImmediateChildNode>);
static_assert(kHas<bool (XmlFiler::*)(), &XmlFiler::MoveToNextSibling>);
static_assert(kHas<bool (XmlFiler::*)(), &XmlFiler::MoveToParent>);
static_assert(kHas<void (XmlFiler::*)(), &XmlFiler::DeleteNode>);
static_assert(kHas<void (XmlFiler::*)(Name), &XmlFiler::DeleteNode>);
static_assert(kHas<void (XmlFiler::*)(), &XmlFiler::DeleteChildNodes>);
static_assert(kHas<void (XmlFiler::*)(Name), &XmlFiler::DeleteChildNodes>);
static_assert(kHas<QDomNode (XmlFiler::*)() const, &XmlFiler::GetCurrentNode>);
static_assert(kHas<QString (XmlFiler::*)() const, &XmlFiler::GetCurrentNodePath>);
static_assert(kHas<QString (XmlFiler::*)() const, &XmlFiler::GetCurrentNodeName>);
static_assert(kHas<QStringList (XmlFiler::*)() const, &XmlFiler::GetAttributeNames>);
static_assert(kHas<XmlLoadError (XmlFiler::*)() const, &XmlFiler::GetLoadError>);
static_assert(kHas<void (XmlFiler::*)() const, &XmlFiler::PushCurrentNode>);
static_assert(kHas<void (XmlFiler::*)() const, &XmlFiler::PopCurrentNode>);
static_assert(kHas<QString XmlFiler::*, &XmlFiler::ExtraText>);
static_assert(kHas<XlfTranslator * XmlFiler::*, &XmlFiler::Translator>);
static_assert(kHas<bool XmlFiler::*, &XmlFiler::TranslateEnabled>);

// Values

static_assert(kHas<int (XmlFiler::*)(Name, int) const, &XmlFiler::ReadInt>);
static_assert(kHas<int (XmlFiler::*)(Name, Name, int) const, &XmlFiler::ReadInt>);
static_assert(kHas<void (XmlFiler::*)(Name, int), &XmlFiler::WriteInt>);
static_assert(kHas<void (XmlFiler::*)(Name, Name, int), &XmlFiler::WriteInt>);
static_assert(kHas<unsigned (XmlFiler::*)(Name, unsigned), &XmlFiler::ReadUInt>);
static_assert(kHas<unsigned (XmlFiler::*)(Name, Name, unsigned), &XmlFiler::ReadUInt>);
static_assert(kHas<void (XmlFiler::*)(Name, unsigned), &XmlFiler::WriteUInt>);
static_assert(kHas<void (XmlFiler::*)(Name, Name, unsigned), &XmlFiler::WriteUInt>);
static_assert(kHas<long (XmlFiler::*)(Name, long), &XmlFiler::ReadLong>);
static_assert(kHas<long (XmlFiler::*)(Name, Name, long), &XmlFiler::ReadLong>);
static_assert(kHas<void (XmlFiler::*)(Name, long), &XmlFiler::WriteLong>);
static_assert(kHas<void (XmlFiler::*)(Name, Name, long), &XmlFiler::WriteLong>);
static_assert(kHas<unsigned long (XmlFiler::*)(Name, unsigned long), &XmlFiler::ReadULong>);
static_assert(kHas<unsigned long (XmlFiler::*)(Name, Name, unsigned long), &XmlFiler::ReadULong>);
static_assert(kHas<void (XmlFiler::*)(Name, unsigned long), &XmlFiler::WriteULong>);
static_assert(kHas<void (XmlFiler::*)(Name, Name, unsigned long), &XmlFiler::WriteULong>);
static_assert(kHas<long long (XmlFiler::*)(Name, long long), &XmlFiler::ReadInt64>);
static_assert(kHas<long long (XmlFiler::*)(Name, Name, long long), &XmlFiler::ReadInt64>);
static_assert(kHas<void (XmlFiler::*)(Name, long long), &XmlFiler::WriteInt64>);
static_assert(kHas<void (XmlFiler::*)(Name, Name, long long), &XmlFiler::WriteInt64>);
static_assert(kHas<double (XmlFiler::*)(Name, double), &XmlFiler::ReadDouble>);
static_assert(kHas<double (XmlFiler::*)(Name, Name, double), &XmlFiler::ReadDouble>);
static_assert(kHas<void (XmlFiler::*)(Name, double), &XmlFiler::WriteDouble>);
static_assert(kHas<void (XmlFiler::*)(Name, Name, double), &XmlFiler::WriteDouble>);
static_assert(kHas<bool (XmlFiler::*)(Name, bool) const, &XmlFiler::ReadBoolean>);
static_assert(kHas<bool (XmlFiler::*)(Name, Name, bool) const, &XmlFiler::ReadBoolean>);
static_assert(kHas<void (XmlFiler::*)(Name, bool), &XmlFiler::WriteBoolean>);
static_assert(kHas<void (XmlFiler::*)(Name, Name, bool), &XmlFiler::WriteBoolean>);
static_assert(kHas<QRect (XmlFiler::*)(Name, const QRect&), &XmlFiler::ReadRect>);
static_assert(kHas<QRect (XmlFiler::*)(Name, Name, const QRect&), &XmlFiler::ReadRect>);
static_assert(kHas<void (XmlFiler::*)(Name, const QRect&), &XmlFiler::WriteRect>);
static_assert(kHas<void (XmlFiler::*)(Name, Name, const QRect&), &XmlFiler::WriteRect>);
static_assert(kHas<QSize (XmlFiler::*)(Name, const QSize&), &XmlFiler::ReadSize>);
static_assert(kHas<QSize (XmlFiler::*)(Name, Name, const QSize&), &XmlFiler::ReadSize>);
static_assert(kHas<void (XmlFiler::*)(Name, const QSize&), &XmlFiler::WriteSize>);
static_assert(kHas<void (XmlFiler::*)(Name, Name, const QSize&), &XmlFiler::WriteSize>);
static_assert(kHas<QString (XmlFiler::*)(Name, Name) const, &XmlFiler::ReadString>);
static_assert(kHas<QString (XmlFiler::*)(Name, Name, Name) const, &XmlFiler::ReadString>);
static_assert(kHas<void (XmlFiler::*)(Name, Name), &XmlFiler::WriteString>);
static_assert(kHas<void (XmlFiler::*)(Name, Name, Name), &XmlFiler::WriteString>);
static_assert(kHas<QDateTime (XmlFiler::*)(Name, const QDateTime&) const, &XmlFiler::ReadDate>);
static_assert(kHas<QDateTime (XmlFiler::*)(Name, Name, const QDateTime&) const, &XmlFiler::ReadDate>);
static_assert(kHas<void (XmlFiler::*)(Name, const QDateTime&), &XmlFiler::WriteDate>);
static_assert(kHas<void (XmlFiler::*)(Name, Name, const QDateTime&), &XmlFiler::WriteDate>);

// Enumerations

static_assert(kHas<int (XmlFiler::*)(Name, int, Rows, int, bool), &XmlFiler::ReadEnum>);
static_assert(kHas<int (XmlFiler::*)(Name, int, Rows, int), &XmlFiler::ReadEnum>);
static_assert(kHas<int (XmlFiler::*)(Name, Name, int, Rows, int, bool), &XmlFiler::ReadEnum>);
static_assert(kHas<int (XmlFiler::*)(Name, Name, int, Rows, int), &XmlFiler::ReadEnum>);
static_assert(kHas<void (XmlFiler::*)(Name, int, Rows, int, bool), &XmlFiler::WriteEnum>);
static_assert(kHas<void (XmlFiler::*)(Name, int, Rows, int), &XmlFiler::WriteEnum>);
static_assert(kHas<void (XmlFiler::*)(Name, Name, int, Rows, int, bool), &XmlFiler::WriteEnum>);
static_assert(kHas<void (XmlFiler::*)(Name, Name, int, Rows, int), &XmlFiler::WriteEnum>);
static_assert(kHas<QString (*)(int, const EnumValueName*, int, bool), &XmlFiler::EnumValueToName>);
static_assert(kHas<int (*)(Name, Rows, int, bool), &XmlFiler::EnumNameToValue>);
static_assert(kHas<QStringList (*)(Rows, int), &XmlFiler::GetEnumNames>);
static_assert(kHas<QString (*)(int, const EnumValueName*, int, bool), &GeneralUtil::EnumValueToName>);
static_assert(kHas<int (*)(Name, Rows, int, bool), &GeneralUtil::EnumNameToValue>);
static_assert(kHas<QStringList (*)(Rows, int), &GeneralUtil::GetEnumNames>);
static_assert(std::is_aggregate_v<EnumValueName>);
static_assert(kHas<int EnumValueName::*, &EnumValueName::Value>);
static_assert(kHas<QString EnumValueName::*, &EnumValueName::Name>);

// Content, marks and variables

static_assert(kHas<QByteArray (XmlFiler::*)(), &XmlFiler::ReadBuffer>);
static_assert(kHas<QByteArray (XmlFiler::*)(Name), &XmlFiler::ReadBuffer>);
static_assert(kHas<void (XmlFiler::*)(const QByteArray&), &XmlFiler::WriteBuffer>);
static_assert(kHas<void (XmlFiler::*)(Name, const QByteArray&), &XmlFiler::WriteBuffer>);
static_assert(kHas<QString (XmlFiler::*)(), &XmlFiler::ReadNodeText>);
static_assert(kHas<QString (XmlFiler::*)(Name), &XmlFiler::ReadNodeText>);
static_assert(kHas<void (XmlFiler::*)(Name), &XmlFiler::WriteNodeText>);
static_assert(kHas<void (XmlFiler::*)(Name, bool), &XmlFiler::WriteNodeText>);
static_assert(kHas<void (XmlFiler::*)(Name, Name), &XmlFiler::WriteNodeText>);
static_assert(kHas<void (XmlFiler::*)(Name, Name, bool), &XmlFiler::WriteNodeText>);
static_assert(kHas<QString (XmlFiler::*)(), &XmlFiler::ReadInnerXml>);
static_assert(kHas<QString (XmlFiler::*)(Name), &XmlFiler::ReadInnerXml>);
static_assert(kHas<bool (XmlFiler::*)(Name), &XmlFiler::WriteInnerXml>);
static_assert(kHas<bool (XmlFiler::*)(Name, Name), &XmlFiler::WriteInnerXml>);
static_assert(kHas<QString (XmlFiler::*)(), &XmlFiler::ReadOuterXml>);
static_assert(kHas<QString (XmlFiler::*)(Name), &XmlFiler::ReadOuterXml>);
static_assert(kHas<void (XmlFiler::*)(Name), &XmlFiler::WriteComment>);
static_assert(kHas<void (XmlFiler::*)(Name, Name), &XmlFiler::WriteComment>);
static_assert(kHas<bool (XmlFiler::*)(QString&) const, &XmlFiler::StripTr>);
static_assert(kHas<QString (XmlFiler::*)(Name) const, &XmlFiler::Translate>);
using Variables = const QMap<QString, QString>&;
static_assert(kHas<int (XmlFiler::*)(Variables), &XmlFiler::ResolveVariables>);
static_assert(kHas<int (XmlFiler::*)(QDomNamedNodeMap, Variables), &XmlFiler::ResolveVariables>);
static_assert(kHas<int (XmlFiler::*)(QDomNode, Variables), &XmlFiler::ResolveVariables>);

// Settings: its own operations, and the inherited ones that they would hide

static_assert(std::is_base_of_v<XmlFiler, Settings> && std::is_convertible_v<Settings*, XmlFiler*>);
static_assert(std::has_virtual_destructor_v<XmlFiler> && std::is_nothrow_destructible_v<Settings>);
static_assert(std::is_default_constructible_v<Settings>);
static_assert(std::is_constructible_v<Settings, QString, QString>);
static_assert(!std::is_constructible_v<Settings, QString>);
static_assert(kHas<void (Settings::*)(QString, QString), &Settings::SetFile>);
static_assert(kHas<bool (Settings::*)(Name, Name, bool) const, &Settings::ReadBoolean>);
static_assert(kHas<int (Settings::*)(Name, Name, int) const, &Settings::ReadInt>);
static_assert(kHas<QString (Settings::*)(Name, Name, Name) const, &Settings::ReadString>);
static_assert(kHas<QDateTime (Settings::*)(Name, Name, const QDateTime&) const, &Settings::ReadDate>);
static_assert(kHas<QString (Settings::*)(Name), &Settings::ReadNodeText>);
static_assert(kHas<void (Settings::*)(Name, Name, bool), &Settings::WriteBoolean>);
static_assert(kHas<void (Settings::*)(Name, Name, int), &Settings::WriteInt>);
static_assert(kHas<void (Settings::*)(Name, Name, Name), &Settings::WriteString>);
static_assert(kHas<void (Settings::*)(Name, Name, const QDateTime&), &Settings::WriteDate>);
static_assert(kHas<void (Settings::*)(Name, Name), &Settings::WriteNodeText>);
static_assert(kHas<void (Settings::*)(Name), &Settings::DeleteNode>);
static_assert(kHas<void (Settings::*)(), &Settings::Save>);
static_assert(kHas<void (Settings::*)(), &Settings::SaveInternal>);
static_assert(kHas<void (Settings::*)(), &Settings::AutoSave>);
static_assert(kHas<void (Settings::*)(), &Settings::MarkChanged>);
static_assert(kHas<Settings::FileState (Settings::*)(Name, Name), &Settings::OpenFile>);
static_assert(kHas<QString (Settings::*)() const, &Settings::GetSetAsideFile>);
static_assert(kHas<int (XmlFiler::*)(Name, int) const, &Settings::ReadInt>);
static_assert(kHas<void (XmlFiler::*)(Name, Name), &Settings::WriteString>);
static_assert(kHas<void (XmlFiler::*)(Name, Name, bool), &Settings::WriteNodeText>);
static_assert(kHas<void (XmlFiler::*)(), &Settings::DeleteNode>);

// Conditions: a function pointer, and function objects with state

using Callback = bool (*)(Name, bool&);
static_assert(std::is_same_v<BooleanExpressionEvaluator::OperandCallback, Callback>);
static_assert(std::is_constructible_v<BooleanExpressionEvaluator, Callback>);
static_assert(std::is_constructible_v<BooleanExpressionEvaluator, std::nullptr_t>);
static_assert(std::is_constructible_v<BooleanExpressionEvaluator, std::function<bool(Name, bool&)>>);
static_assert(!std::is_constructible_v<BooleanExpressionEvaluator, std::function<bool(bool&)>>);
static_assert(!std::is_constructible_v<BooleanExpressionEvaluator, int>);
static_assert(!std::is_convertible_v<Callback, BooleanExpressionEvaluator>);
static_assert(std::is_copy_constructible_v<BooleanExpressionEvaluator>);

// Digests, sizes and debug output

static_assert(kHas<QByteArray (*)(Name), &GeneralUtil::GetFileHash>);
static_assert(kHas<QByteArray (*)(Name), &GeneralUtil::GetHash>);
static_assert(kHas<QString (*)(Name), &GeneralUtil::GenerateCheckSumMD5>);
static_assert(kHas<QString (*)(qint64, int), &GeneralUtil::BytesToString>);
static_assert(kHas<void (*)(Name), &GeneralUtil::OutputDebugString>);
static_assert(kHas<void (*)(const wchar_t*), &GeneralUtil::OutputDebugString>);

} // namespace
