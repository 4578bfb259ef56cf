// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>

#include <functional>
#include <optional>
#include <vector>

struct KVMountedVolume {
    QString path;
    QString type;
    // Pseudo file systems and the system's own runtime mounts, never where photos live.
    bool isHidden = false;
};

namespace KVVolumes {
// The mounted volumes as this process sees them (/proc/self/mountinfo).
std::vector<KVMountedVolume> mountedVolumes();
// Bytes available to the user on the volume holding path; empty when it cannot be asked.
std::optional<qint64> freeSize(const QString &path);
// Whether this user may write the file (effective ids; a read-only mount answers no).
bool isWritable(const QString &path);

// Calls handler on the main thread with the mount point of every volume that goes away.
// Watches from one background thread; a new handler replaces the previous one.
void setUnmountHandler(std::function<void(const QString &devicePath)> handler);
} // namespace KVVolumes
