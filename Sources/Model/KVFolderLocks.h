// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

// Exclusive advisory locks (flock) on the folders of a run's photos, held for the whole run, so
// that two runs over the same photos (in two processes) come one after the other instead of
// interleaving photo by photo. The folder itself is locked: nothing is created in it.
class KVFolderLocks {
public:
    // Locks the folders of these photos, in one fixed order so that two runs never wait on
    // each other. Waits up to `wait` for another run to finish, giving up early once `stop`
    // says so; then nothing, with the problem in the user's words in *error.
    static std::unique_ptr<KVFolderLocks> acquire(const QStringList &photoPaths,
                                                  std::chrono::milliseconds wait, QString *error,
                                                  const std::function<bool()> &stop = {});
    ~KVFolderLocks();
    KVFolderLocks(const KVFolderLocks &) = delete;
    KVFolderLocks &operator=(const KVFolderLocks &) = delete;

private:
    KVFolderLocks() = default;
    std::vector<int> m_descriptors;
};
