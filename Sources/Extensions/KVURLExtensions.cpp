// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVURLExtensions.h"

#include "KVFileName.h"
#include "KVVolumes.h"

#include <algorithm>

namespace KVURLExtensions {

bool isFileWritable(const QUrl &url) {
    return url.isLocalFile() && KVVolumes::isWritable(KVFileName::path(url));
}

QString volumePath(const QUrl &url) {
    std::vector<KVMountedVolume> volumes = KVVolumes::mountedVolumes();
    std::erase_if(volumes, [](const KVMountedVolume &volume) { return volume.isHidden; });
    std::stable_sort(volumes.begin(), volumes.end(),
                     [](const auto &a, const auto &b) { return a.path.size() > b.path.size(); });
    const QString path = KVFileName::path(url);
    // A plain text prefix, as the platform does it: "/media/card" also holds "/media/cards/x".
    for (const KVMountedVolume &volume : volumes) {
        if (path.startsWith(volume.path))
            return volume.path;
    }
    return {};
}

} // namespace KVURLExtensions
