// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef GRID_CHAT_STORY_H
#define GRID_CHAT_STORY_H

#include <QString>

/// Lets three processes join a grid and talk, and kills one of them.
/// \param tool  path of the program qvutil, which shows the grid between the steps. If it is empty, the
///              grid is not shown.
/// \return the exit code
int PlayStory(const QString& tool);

#endif // GRID_CHAT_STORY_H
