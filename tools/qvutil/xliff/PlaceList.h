// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_XLIFF_PLACELIST_H
#define QVUTIL_TOOL_XLIFF_PLACELIST_H

#include "xliff/XmlSource.h"

#include <QList>
#include <QString>

namespace Quorvin::Tool {

/// A line of output about a place in a file.
struct PlaceLine
{
    QString File;
    Place Where;
    QString Text; ///< about this place alone
    QString Shared; ///< continues "26 units ", about all places that share it; empty if there is none
    QString Noun; ///< what Shared counts, such as "unit"
    QString Label; ///< what is at this place, shown with Shared; may be empty
    QString Tag; ///< printed in brackets
    QString Prefix = {}; ///< printed before the text
};

/// Prints the lines. Where more than three of a file share their text and tag, one line takes the place of
/// the first, with their number and the first places.
void PrintPlaceLines(const QList<PlaceLine>& lines);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_PLACELIST_H
