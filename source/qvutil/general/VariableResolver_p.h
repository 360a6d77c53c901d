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

/// Substitutes references $(name) in any number of texts. The work is proportional to the characters read and
/// written, however the references lie in one another.
class VariableResolver
{
public:
    /// \param variables   name to value; must outlive the resolver
    /// \param ignoreCase  whether a name that is not found as it stands is looked up in any case; of several
    ///                    spellings the first in the order of the map counts
    VariableResolver(const QMap<QString, QString>& variables, bool ignoreCase);

    /// Substitutes the references in \p text from left to right. Behind a reference, substituted or not, the
    /// search goes on at the character after its first, so that references in a value count too.
    /// \return the number of substitutions
    int Resolve(QString& text);

    /// \return characters that were read or written so far; tests watch how it grows
    [[nodiscard]] qint64 GetWork() const { return mWork; }

private:
    [[nodiscard]] QChar Take();
    [[nodiscard]] qsizetype FindStop(qsizetype from);
    [[nodiscard]] const QString* FindValue(qsizetype nameBegin, qsizetype nameEnd);
    [[nodiscard]] const QString* FindInAnyCase(const QString& name);

    const QMap<QString, QString>& mVariables;
    const bool mIgnoreCase;
    QSet<qsizetype> mNameLengths;
    // By folded name; made when it is first needed.
    std::optional<QHash<QString, const QString*>> mFolded;

    // What has not been read yet, backwards, so that it begins at the end of the list: a value is put before
    // it without moving it.
    std::vector<QChar> mRest;
    // Where a name ends that begins at or before mStopFrom, which lies at or before it.
    qsizetype mStop = -1;
    qsizetype mStopFrom = -1;
    qint64 mWork = 0;
};

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_VARIABLERESOLVER_P_H
