// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVImageFile.h"

#include "KVLog.h"

#include <QTimeZone>

namespace {

// The date's wall-clock fields as if they were UTC, so that the difference of two dates is
// the difference of their texts, whatever daylight saving does between them.
QDateTime wallClock(const QDateTime &date) {
    const QDateTime local = date.timeSpec() == Qt::UTC ? date : date.toLocalTime();
    return QDateTime(local.date(), local.time(), QTimeZone::utc());
}

} // namespace

KVWriteOutcome KVImageFile::shiftCreationDate(KVPhotoWriter &writer, qint64 seconds,
                                              const KVPhotoWriter::WillChange &willChange,
                                              const std::optional<QString> &expectedOldDateText) {
    const KVWriteOutcome outcome =
        writer.shiftDates(identity(), seconds, willChange, expectedOldDateText);
    if (outcome.changed()) {
        setIdentity(outcome.identity);
        setExif(exifFromURL(url()).value_or(QVariantMap()));
    }
    return outcome;
}

void KVImageFile::setCreationDate(const QDateTime &date, bool *isSucceed) {
    // One writer, and so one running tool, per thread that writes.
    thread_local std::unique_ptr<KVPhotoWriter> writer;
    thread_local QString writerTool;
    const QDateTime current = creationDate();
    bool result = false;
    if (path().isEmpty() || !date.isValid() || !current.isValid()) {
        KVLog(QStringLiteral("No date can be written into %1").arg(path()));
    } else {
        if (!writer || writerTool != KVToolPath()) {
            writerTool = KVToolPath();
            writer = std::make_unique<KVPhotoWriter>(writerTool);
        }
        const qint64 seconds = wallClock(current).secsTo(wallClock(date));
        result = shiftCreationDate(*writer, seconds).changed();
    }
    if (isSucceed)
        *isSucceed = result;
}
