// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Sections.h"

bool ShowTranslation(Transcript&, const Folders&)
{
    return true;
}
