// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_VARIABLERESOLVER_P_H
#define QVUTIL_VARIABLERESOLVER_P_H

#include <QHash>
#include <QMap>
#include <QSet>
#include <QString>

#include <optional>
#include <vector>

// Internal, not API: may change in any version.

namespace Quorvin::Util::Internal {

/// Replaces references of the form $(name) in any number of texts. The time needed is linear in the number of
/// characters read and written, however references are nested.
class VariableResolver
{
public:
    /// \param variables   names and values; must outlive the resolver
    /// \param ignoreCase  whether a name without an exact match is compared case-insensitively; if several
    ///                    names match, the first in the order of the map is used
    VariableResolver(const QMap<QString, QString>& variables, bool ignoreCase);

    /// Replaces the references in \p text from left to right. The search resumes one character after the
    /// start of each reference, replaced or not, so that references in a value are replaced too.
    /// \return the number of replacements
    int Resolve(QString& text);

    /// \return the number of characters read and written so far; tests check how it grows
    [[nodiscard]] qint64 GetWork() const { return mWork; }

private:
    [[nodiscard]] QChar Take();
    [[nodiscard]] qsizetype FindStop(qsizetype from);
    [[nodiscard]] const QString* FindValue(qsizetype nameBegin, qsizetype nameEnd);
    [[nodiscard]] const QString* FindInAnyCase(const QString& name);

    const QMap<QString, QString>& mVariables;
    const bool mIgnoreCase;
    QSet<qsizetype> mNameLengths;
    // Values by folded name; filled on first use.
    std::optional<QHash<QString, const QString*>> mFolded;

    // The unread text in reverse order: its first character is the last of the list, so that inserting a
    // value before the text moves nothing.
    std::vector<QChar> mRest;
    // The cached result of FindStop for mStopFrom, which also holds for every index between the two.
    qsizetype mStop = -1;
    qsizetype mStopFrom = -1;
    qint64 mWork = 0;
};

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_VARIABLERESOLVER_P_H
