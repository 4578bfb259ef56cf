// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVSuggestedMatches.h"

#include "KVCameraOffsetMemory.h"
#include "KVOffsetEstimator.h"
#include "KVPhotoLooks.h"

#include <cmath>
#include <functional>
#include <set>

namespace {

// Seconds of the wall-clock fields, whatever zone the date is held in: offsets between camera
// clocks are plain differences of what the clocks showed.
qint64 wallClockSeconds(const QDateTime &date) {
    return QDateTime(date.date(), date.time(), Qt::UTC).toSecsSinceEpoch();
}

std::vector<qint64> timesOf(const std::vector<KVImageFileRef> &photos) {
    std::vector<qint64> times;
    times.reserve(photos.size());
    for (const KVImageFileRef &photo : photos)
        times.push_back(wallClockSeconds(photo->creationDate()));
    return times;
}

// The photo of `photos` (with `times`) taken at `time`, or a second off when none is exact.
KVImageFileRef photoAt(const std::vector<KVImageFileRef> &photos, const std::vector<qint64> &times,
                       qint64 time) {
    for (const qint64 delta : {0, -1, 1}) {
        const auto it = std::lower_bound(times.begin(), times.end(), time + delta);
        if (it != times.end() && *it == time + delta)
            return photos[size_t(it - times.begin())];
    }
    return nullptr;
}

} // namespace

bool KVSuggestedMatches::Camera::isConfident() const {
    return confidence >= KVOffsetEstimator::confidentLevel;
}

KVSuggestedMatches KVSuggestedMatches::suggest(const KVCameraSetsRef &imageFiles,
                                               const QString &referenceKey,
                                               const KVCameraOffsetMemory *memory) {
    KVSuggestedMatches result;
    if (!imageFiles || imageFiles->empty())
        return result;
    std::vector<QString> keys;
    std::vector<const std::vector<KVImageFileRef> *> photos;
    std::vector<std::vector<qint64>> times;
    int reference = 0;
    for (const auto &[key, files] : *imageFiles) {
        if (key == referenceKey)
            reference = int(keys.size());
        keys.push_back(key);
        photos.push_back(&files);
        // The camera sets keep each camera's photos by date already.
        times.push_back(timesOf(files));
    }
    result.referenceKey = keys[size_t(reference)];
    std::vector<std::optional<qint64>> remembered(keys.size());
    if (memory) {
        for (std::size_t i = 0; i < keys.size(); ++i) {
            if (int(i) != reference)
                remembered[i] = memory->offsetAgainst(keys[i], result.referenceKey);
        }
    }

    // The thumbnails weigh the best shifts: photos of one moment look alike.
    KVPhotoLooks looks(photos);
    const std::vector<KVOffsetEstimator::Estimate> estimates = KVOffsetEstimator::estimate(
        times, reference, remembered,
        [&looks](int camera, qint64 photo, int other, qint64 otherPhoto) {
            return looks.distance(camera, photo, other, otherPhoto);
        });
    const std::vector<KVImageFileRef> &referencePhotos = *photos[size_t(reference)];
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (int(i) == reference)
            continue;
        const KVOffsetEstimator::Estimate &estimate = estimates[i];
        Camera camera;
        camera.key = keys[i];
        camera.offset = double(estimate.offset);
        camera.confidence = estimate.confidence;
        if (estimate.referenceIndex >= 0 && estimate.matchIndex >= 0) {
            camera.referencePhoto = referencePhotos[size_t(estimate.referenceIndex)];
            camera.matchPhoto = (*photos[i])[size_t(estimate.matchIndex)];
        }
        if (estimate.through >= 0)
            camera.through = keys[size_t(estimate.through)];
        camera.isRemembered = estimate.isRemembered;
        camera.drift = double(estimate.drift);
        result.cameras.push_back(camera);
    }

    // One reference photo serves every camera: the one that most of the sure cameras have a photo
    // of, to the second; a second off counts half.
    std::map<qint64, double> votes;
    const std::vector<qint64> &referenceTimes = times[size_t(reference)];
    const std::set<qint64> referenceMoments(referenceTimes.begin(), referenceTimes.end());
    // Each sure camera with its index among all cameras.
    const auto forEachSureCamera =
        [&](const std::function<void(std::size_t, const Camera &)> &body) {
            for (std::size_t i = 0, c = 0; i < keys.size(); ++i) {
                if (int(i) == reference)
                    continue;
                const Camera &camera = result.cameras[c++];
                if (camera.isConfident())
                    body(i, camera);
            }
        };
    forEachSureCamera([&](std::size_t i, const Camera &camera) {
        std::map<qint64, double> own;
        for (const qint64 time : times[i]) {
            const qint64 moment = time + qint64(camera.offset);
            for (const qint64 delta : {-1, 0, 1}) {
                if (referenceMoments.count(moment + delta)) {
                    double &vote = own[moment + delta];
                    vote = std::max(vote, delta == 0 ? 1.0 : 0.5);
                }
            }
        }
        for (const auto &[moment, vote] : own)
            votes[moment] += vote;
    });
    if (votes.empty())
        return result;
    auto chosen = votes.begin();
    for (auto it = votes.begin(); it != votes.end(); ++it) {
        if (it->second > chosen->second)
            chosen = it;
    }
    const qint64 moment = chosen->first;
    result.referencePhoto = photoAt(referencePhotos, referenceTimes, moment);
    forEachSureCamera([&](std::size_t i, const Camera &camera) {
        if (KVImageFileRef match = photoAt(*photos[i], times[i], moment - qint64(camera.offset)))
            result.matches[camera.key] = match;
    });
    return result;
}

KVTimeIntervals KVSuggestedMatches::confidentIntervals() const {
    KVTimeIntervals intervals;
    for (const Camera &camera : cameras) {
        if (camera.isConfident())
            intervals[camera.key] = camera.offset;
    }
    return intervals;
}

const KVSuggestedMatches::Camera *KVSuggestedMatches::cameraWithKey(const QString &key) const {
    for (const Camera &camera : cameras) {
        if (camera.key == key)
            return &camera;
    }
    return nullptr;
}
