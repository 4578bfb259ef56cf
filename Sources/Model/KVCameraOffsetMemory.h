// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVReferenceSet.h"
#include "KVUserDefaults.h"

#include <QDateTime>
#include <QString>

#include <optional>

// Each camera body's offset as its last sync left it, kept in the user's settings by the body's
// identity key (make, model and serial number), with the date of that sync: a body that turns up
// again starts from what its clock was known to be off by.
class KVCameraOffsetMemory {
public:
    static const QString settingsKey; // "KVCameraOffsets"

    struct Entry {
        double offset = 0; // seconds added to the body's dates at that sync
        QDateTime date;    // when it was synced, in UTC
    };

    explicit KVCameraOffsetMemory(
        KVUserDefaults &defaults = KVUserDefaults::standardUserDefaults());

    std::optional<Entry> entryForCamera(const QString &key) const;
    // After a sync: each camera's offset, and the reference camera's own 0 (no reference camera
    // when the base time was typed by hand).
    void remember(const KVTimeIntervals &intervals, const QString &referenceKey,
                  const QDateTime &date);
    // What `camera` was off by against `reference`, from their last syncs; a reference not
    // remembered counts as right, since it was chosen as the one whose time is right.
    std::optional<qint64> offsetAgainst(const QString &camera, const QString &reference) const;

private:
    KVUserDefaults &m_defaults;
};
