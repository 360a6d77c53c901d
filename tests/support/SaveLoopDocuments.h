// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_SAVELOOPDOCUMENTS_H
#define QVUTIL_SAVELOOPDOCUMENTS_H

#include <XmlFiler.h>

#include <array>

/// The documents that SaveLoop saves. A file that it was saving must contain one of them.
namespace SaveLoopDocuments {

// Number of elements in each document: one write call suffices for the first, the last is larger than 100 KB.
constexpr std::array<int, 4> kSizes = {1, 40, 400, 6'000};

/// Fills an empty filer with the document that has this number.
inline void Fill(Quorvin::Util::XmlFiler& filer, size_t number)
{
    filer.CreateRoot(QStringLiteral("Document%1").arg(number));
    for (int i = 0; i < kSizes.at(number); ++i) {
        filer.CreateNode(QStringLiteral("Item"), false);
        filer.WriteInt(QStringLiteral("Number"), i);
        filer.MoveToParent();
    }
}

} // namespace SaveLoopDocuments

#endif // QVUTIL_SAVELOOPDOCUMENTS_H
