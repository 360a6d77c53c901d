// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_XLIFFSUPPORT_H
#define QVUTIL_XLIFFSUPPORT_H

#include <qvutil/GeneralUtil.h>
#include <qvutil/XlfTranslator.h>

#include <QByteArray>
#include <QString>

// Functions that create XLIFF files for tests, and read translations from them.
namespace TestSupport {

/// Returns the id of the unit for a text.
inline QByteArray Id(const QString& source)
{
    return Quorvin::Util::GeneralUtil::GetHash(source);
}

/// Returns an XLIFF file with one file element for ui.xml that contains \p body.
inline QByteArray Xliff(const QByteArray& body)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<xliff version=\"1.2\" xmlns=\"urn:oasis:names:tc:xliff:document:1.2\">\n"
           "    <file original=\"ui.xml\" source-language=\"en\" target-language=\"de\" datatype=\"xml\">\n"
           "        <body>\n"
        + body
        + "        </body>\n"
          "    </file>\n"
          "</xliff>\n";
}

/// Returns a unit in the form that the tool writes.
inline QByteArray Unit(const QString& source, const QByteArray& target, int line = 0,
                       const QByteArray& attributes = {})
{
    QByteArray text = "            <trans-unit id=\"" + Id(source) + "\"" + attributes
        + ">\n                <source>"
        + source.toHtmlEscaped().replace(QStringLiteral("&quot;"), QStringLiteral("\"")).toUtf8()
        + "</source>\n                " + target + "\n";
    if (line > 0) {
        text += "                <context-group purpose=\"location\"><context context-type=\"linenumber\">"
            + QByteArray::number(line) + "</context></context-group>\n";
    }
    return text + "            </trans-unit>\n";
}

/// Returns the library's translation of a text in ui.xml.
inline QString Translated(const QString& file, const QString& source)
{
    return Quorvin::Util::XlfTranslator(file).Translate(source, QStringLiteral("ui.xml"));
}

} // namespace TestSupport

#endif // QVUTIL_XLIFFSUPPORT_H
