// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_XLIFF_XLIFFREPAIR_H
#define QVUTIL_TOOL_XLIFF_XLIFFREPAIR_H

#include "xliff/XliffDocument.h"

#include <QList>
#include <QString>
#include <QStringView>

namespace Quorvin::Tool {

/// Something that a repair has changed, or could not change.
struct RepairNote
{
    Place Where; ///< in the file as it was
    QStringView Kind;
    QString What;
    QString Why;
    QString Shared; ///< see PlaceLine; empty if it concerns no other place
    QString Source; ///< the text concerned; may be empty
    bool IsLeft = false; ///< whether it is left for a person
};

/// Changes an XLIFF file so that the library's translator finds every unit with the whole of its target:
///
/// - What stands before a body goes behind it. Units in groups and elsewhere move into the body.
/// - `file` elements with the same file name become one.
/// - An id becomes the digest of its source.
/// - Units with the same id and source but different targets become one. It keeps the other targets as
///   alternatives.
/// - Targets with inline elements or comments become plain text.
///
/// \param approves  whether to write the progress for other programs as well: approved="yes" for each unit
///                  with a finished target
/// \return the changes, and what is left, in the order of their places
[[nodiscard]] QList<RepairNote> RepairXliff(XliffDocument& xliff, bool approves);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_XLIFFREPAIR_H
