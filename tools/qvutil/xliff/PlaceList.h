// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_XLIFF_PLACELIST_H
#define QVUTIL_TOOL_XLIFF_PLACELIST_H

#include "xliff/XmlSource.h"

#include <QList>
#include <QString>

namespace Quorvin::Tool {

/// A line of output about one place in a file.
struct PlaceLine
{
    QString File;
    Place Where;
    QString Text; ///< the text for this place
    QString Shared; ///< the text for all places with the same cause, after "26 units "; may be empty
    QString Noun; ///< the things that Shared counts, such as "unit"
    QString Label; ///< identifies this place in a line with Shared; may be empty
    QString Tag; ///< printed in brackets
    QString Prefix = {}; ///< printed before the text
};

/// Prints the lines. More than three lines of a file with the same shared text and tag become one line, with
/// their number and the first three places.
void PrintPlaceLines(const QList<PlaceLine>& lines);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_PLACELIST_H
