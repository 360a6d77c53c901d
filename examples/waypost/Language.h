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

/// The language that Waypost speaks: translations of its documents, of Qt's own texts, and the way in which
/// numbers and dates are written.
class Language : public QObject
{
    Q_OBJECT
public:
    /// \param dataFolder  the folder with Waypost.de.xlf and so on
    explicit Language(QString dataFolder, QObject* parent = nullptr);

    /// Chooses the language. Documents that point to the former translator must be given the new one: this
    /// is what Changed is for.
    /// \param code  "en", "de" or "ja"; empty for the language of the system
    void Select(const QString& code);

    /// \return "en", "de" or "ja", whichever is spoken now
    [[nodiscard]] QString Code() const { return mCode; }
    /// \return the translator for an XmlFiler; null for English, in which the documents are written
    [[nodiscard]] Quorvin::Util::XlfTranslator* Translator() const { return mTranslator.get(); }
    [[nodiscard]] const QLocale& Locale() const { return mLocale; }
    /// \return the file of that name that is meant for this language; empty if there is none
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
