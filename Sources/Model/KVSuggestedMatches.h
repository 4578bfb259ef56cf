// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVCameraSets.h"
#include "KVReferenceSet.h"

#include <map>
#include <vector>

class KVCameraOffsetMemory;

// What the photos' times say about the cameras' clocks: for each camera, the offset that lines it
// up with a reference camera, how sure that is, and the pair of photos that shows it; and the one
// photo to mark as the reference with, on each camera that is sure enough, its photo of the same
// moment, so that marking them is what clicking them would be.
struct KVSuggestedMatches {
    struct Camera {
        QString key;
        double offset = 0; // seconds: the camera's dates plus this give the reference's time
        double confidence = 0;
        KVImageFileRef referencePhoto; // null when the cameras share no moment
        KVImageFileRef matchPhoto;
        QString through; // the camera it was lined up through, when not with the reference
        bool isRemembered = false;
        double drift = 0; // seconds the clock moved since its offset was remembered
        bool isConfident() const;
    };

    QString referenceKey;
    // Every camera but the reference, in the window's order.
    std::vector<Camera> cameras;
    KVImageFileRef referencePhoto;
    std::map<QString, KVImageFileRef> matches;

    // An empty or unknown reference key takes the first camera in the window's order. Without a
    // memory nothing is remembered.
    static KVSuggestedMatches suggest(const KVCameraSetsRef &imageFiles,
                                      const QString &referenceKey,
                                      const KVCameraOffsetMemory *memory = nullptr);
    // The offsets of the cameras that are sure enough, as a sync takes them.
    KVTimeIntervals confidentIntervals() const;
    const Camera *cameraWithKey(const QString &key) const;
};
