// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>

// An object that follows one file: told when the file is renamed or moved (also into the Trash).
class KVFilePresenter {
public:
    virtual ~KVFilePresenter() = default;
    virtual QString presentedItemPath() const = 0;
    // Called on the coordinator's one presenter queue, never on the main thread.
    virtual void presentedItemDidMoveToPath(const QString &newPath) = 0;
};
