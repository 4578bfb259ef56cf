// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCameraOffsetMemory.h"

#include <QVariantMap>

#include <cmath>

namespace {

const QString offsetKey = QStringLiteral("offset");
const QString dateKey = QStringLiteral("date");

} // namespace

const QString KVCameraOffsetMemory::settingsKey = QStringLiteral("KVCameraOffsets");

KVCameraOffsetMemory::KVCameraOffsetMemory(KVUserDefaults &defaults)
    : m_defaults(defaults) {
}

std::optional<KVCameraOffsetMemory::Entry>
KVCameraOffsetMemory::entryForCamera(const QString &key) const {
    const QVariantMap cameras = m_defaults.objectForKey(settingsKey).toMap();
    const auto it = cameras.constFind(key);
    if (it == cameras.constEnd())
        return std::nullopt;
    const QVariantMap record = it->toMap();
    bool isNumber = false;
    const double offset = record.value(offsetKey).toDouble(&isNumber);
    // Settings edited by hand, or of another version, are not trusted with a clock.
    if (!isNumber || !std::isfinite(offset))
        return std::nullopt;
    return Entry{offset, record.value(dateKey).toDateTime()};
}

void KVCameraOffsetMemory::remember(const KVTimeIntervals &intervals, const QString &referenceKey,
                                    const QDateTime &date) {
    QVariantMap cameras = m_defaults.objectForKey(settingsKey).toMap();
    const QDateTime utc = date.toUTC();
    for (const auto &[key, offset] : intervals)
        cameras.insert(key, QVariantMap{{offsetKey, offset}, {dateKey, utc}});
    if (!referenceKey.isEmpty() && !intervals.count(referenceKey))
        cameras.insert(referenceKey, QVariantMap{{offsetKey, 0.0}, {dateKey, utc}});
    m_defaults.setObject(cameras, settingsKey);
}

std::optional<qint64> KVCameraOffsetMemory::offsetAgainst(const QString &camera,
                                                          const QString &reference) const {
    const std::optional<Entry> own = entryForCamera(camera);
    if (!own)
        return std::nullopt;
    const std::optional<Entry> base = entryForCamera(reference);
    return std::llround(own->offset - (base ? base->offset : 0.0));
}
