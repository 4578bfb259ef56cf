// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVCameraSets.h"

#include <map>

// The camera sets' interval table: camera identity key -> seconds to add to each of its photos.
using KVTimeIntervals = std::map<QString, double>;

// The reference ("KVEtalon") and each camera's matching photo ("KVSelectedImages"), gathered
// from the photos' states.
struct KVReferenceSet {
    KVImageFileRef etalon;
    std::map<QString, KVImageFileRef> selectedImages;

    // Each camera gives its first marked photo in date order: a matching photo, or the
    // reference. A hand-set base date stands in only when no photo is the reference.
    static KVReferenceSet gather(const KVCameraSetsRef &imageFiles, const KVImageFileRef &etalon);

    // A reference and at least one matching photo.
    bool isValidForTimeSynchronization() const;
    // Every matching photo carries exactly the reference's instant (no tolerance).
    bool isSynchronizedAlready() const;
    // Reference date minus each matching photo's date, never rounded.
    KVTimeIntervals timeIntervals() const;
};
