// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVReferenceSet.h"

#include <algorithm>

KVReferenceSet KVReferenceSet::gather(const KVCameraSetsRef &imageFiles,
                                      const KVImageFileRef &etalon) {
    KVReferenceSet set;
    if (imageFiles) {
        for (const auto &[key, files] : *imageFiles) {
            for (const KVImageFileRef &file : files) {
                const KVImageState state = file->imageState();
                if (state == KVImageStateSelected) {
                    set.selectedImages[file->fullCameraName()] = file;
                    break;
                }
                if (state == KVImageStateEtalon) {
                    set.etalon = file;
                    break;
                }
            }
        }
    }
    if (!set.etalon && etalon && etalon->url().isEmpty())
        set.etalon = etalon;
    return set;
}

bool KVReferenceSet::isValidForTimeSynchronization() const {
    return etalon && !selectedImages.empty();
}

bool KVReferenceSet::isSynchronizedAlready() const {
    const QDateTime reference = etalon ? etalon->creationDate() : QDateTime();
    return std::all_of(selectedImages.begin(), selectedImages.end(), [&](const auto &entry) {
        return entry.second->creationDate() == reference;
    });
}

KVTimeIntervals KVReferenceSet::timeIntervals() const {
    KVTimeIntervals intervals;
    if (!etalon)
        return intervals;
    const QDateTime reference = etalon->creationDate();
    for (const auto &[key, file] : selectedImages)
        intervals[key] = file->creationDate().msecsTo(reference) / 1000.0;
    return intervals;
}
