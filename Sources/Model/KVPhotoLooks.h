// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVImageFile.h"

#include <QByteArray>

#include <map>
#include <mutex>
#include <optional>
#include <vector>

// How alike photos look, from their thumbnails, which the camera sets hold already: each
// thumbnail is brought to one small grey picture once, and two pictures are as far apart as their
// pixels are on average. Used from several threads at once.
class KVPhotoLooks {
public:
    // The cameras' photos, by camera index; they must outlive this object.
    explicit KVPhotoLooks(std::vector<const std::vector<KVImageFileRef> *> cameras);

    // 0 for the same picture, up to 255; nothing when either photo has no thumbnail.
    std::optional<double> distance(int camera, qint64 photo, int other, qint64 otherPhoto);

private:
    std::optional<QByteArray> look(int camera, qint64 photo);

    std::vector<const std::vector<KVImageFileRef> *> m_cameras;
    std::mutex m_mutex;
    std::map<std::pair<int, qint64>, QByteArray> m_looks;
};
