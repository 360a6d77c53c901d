// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_SETTINGSCONTENT_H
#define QVUTIL_TOOL_SETTINGSCONTENT_H

#include <qvutil/XmlFiler.h>

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

namespace Quorvin::Tool {

/// One value of a settings file, for conversion from or to another format.
struct Setting
{
    enum SettingKind {
        Attribute,
        Text, ///< the element's text; empty for an element without content
        Section, ///< the element's text as a CDATA section, in which the library stores bytes
    };
    SettingKind Kind;
    QString Path; ///< of the element below the root, such as "List/Item[2]"; empty for the root
    QString Name; ///< of the attribute; empty for other kinds
    QString Value;
};

/// The content of a settings file, independent of its format.
struct SettingsContent
{
    QString Root; ///< name of the root element; empty if it is not known
    QList<Setting> Settings; ///< in the order of the document
    QStringList Problems; ///< content that cannot be converted, each item as a line of text
};

/// Reads the content of an element and everything below it. Comments, processing instructions and the
/// positions of text between elements are reported as problems.
[[nodiscard]] SettingsContent ReadContent(const QDomElement& root);
/// Writes settings into a document and creates missing elements. Throws Failure if a position leaves a gap.
void WriteContent(Util::XmlFiler& filer, const SettingsContent& content);

// The formats. docs/tool.md describes how they store elements.

[[nodiscard]] QByteArray ToJson(const QDomElement& root);
/// Throws Failure if the text is not JSON.
[[nodiscard]] SettingsContent FromJson(const QByteArray& text, const QString& file);
[[nodiscard]] QByteArray ToIni(const SettingsContent& content);
/// Throws Failure if the text is not in the format of QSettings.
[[nodiscard]] SettingsContent FromIni(const QByteArray& text, const QString& file);

/// Adds a setting, or a problem if its name or characters cannot be stored in a document.
/// \param where  name of the setting in the problem
void AddSetting(SettingsContent& content, const Setting& setting, const QString& where);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_SETTINGSCONTENT_H
