// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_XLIFF_XLIFFREPAIR_H
#define QVUTIL_TOOL_XLIFF_XLIFFREPAIR_H

#include "xliff/XliffDocument.h"

#include <QList>
#include <QString>
#include <QStringView>

namespace Quorvin::Tool {

/// A change made by a repair, or a problem that the repair could not fix.
struct RepairNote
{
    Place Where; ///< in the file before the repair
    QStringView Kind;
    QString What;
    QString Why;
    QString Shared; ///< see PlaceLine; may be empty
    QString Source; ///< the text to translate; may be empty
    bool IsLeft = false; ///< whether the problem was not fixed
};

/// Changes an XLIFF file so that the library finds every unit with its complete target:
///
/// - Elements before the body move after it. Units in groups and elsewhere move into the body.
/// - `file` elements with the same file name are joined.
/// - Ids are replaced with the digests of the sources.
/// - Units with the same id and source are joined if their targets differ. The other targets become
///   alternatives.
/// - Targets with inline elements or comments become plain text.
///
/// \param approves  whether to set `approved` too, which other programs use to show progress: "yes" for units
///                  with a finished target, "no" for units without a target
/// \return the changes, and the problems that were not fixed, in the order of their places
[[nodiscard]] QList<RepairNote> RepairXliff(XliffDocument& xliff, bool approves);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_XLIFFREPAIR_H
