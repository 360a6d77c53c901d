// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_LANGUAGE_H
#define WAYPOST_LANGUAGE_H

#include <qvutil/XlfTranslator.h>

#include <QLocale>
#include <QObject>
#include <QString>
#include <QTranslator>

#include <memory>

/// The current language: the translations of Waypost's documents and of Qt's own texts, and the format of
/// numbers and dates.
class Language : public QObject
{
    Q_OBJECT
public:
    /// \param dataFolder  the folder with Waypost.de.xlf and so on
    explicit Language(QString dataFolder, QObject* parent = nullptr);

    /// Changes the language and emits Changed. Slots must then set the new translator in each document.
    /// \param code  "en", "de" or "ja"; empty for the language of the system
    void Select(const QString& code);

    /// \return code of the current language: "en", "de" or "ja"
    [[nodiscard]] QString Code() const { return mCode; }
    /// \return the translator for an XmlFiler; null for English, the language of the documents
    [[nodiscard]] Quorvin::Util::XlfTranslator* Translator() const { return mTranslator.get(); }
    [[nodiscard]] const QLocale& Locale() const { return mLocale; }
    /// \return path of the file \p name for the current language below \p folder; empty if there is none
    [[nodiscard]] QString FindFile(const QString& name, const QString& folder) const;

Q_SIGNALS:
    void Changed();

private:
    void InstallQtTranslations();

    QString mDataFolder;
    QString mCode = QStringLiteral("en");
    QLocale mLocale;
    std::unique_ptr<Quorvin::Util::XlfTranslator> mTranslator;
    QTranslator mQtTexts;
};

#endif // WAYPOST_LANGUAGE_H
