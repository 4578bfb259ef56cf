// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVImageFile.h"

#include "KVImageSource.h"
#include "KVWallClock.h"

KVWriteOutcome KVImageFile::shiftCreationDate(KVPhotoWriter &writer, qint64 seconds,
                                              const KVPhotoWriter::WillChange &willChange,
                                              const std::optional<QString> &expectedOldDateText) {
    const KVWriteOutcome outcome =
        writer.shiftDates(identity(), seconds, willChange, expectedOldDateText);
    if (outcome.changed())
        didShiftCreationDate(outcome);
    return outcome;
}

void KVImageFile::didShiftCreationDate(const KVWriteOutcome &outcome) {
    setIdentity(outcome.identity);
    // The writer has read all six tags back at this date; reading the whole photo again for it
    // would cost as much as the write.
    std::lock_guard lock(m_propertyMutex);
    m_exif.insert(KVImagePropertyKey::exifDateTimeOriginal,
                  KVWallClock::fromExifText(outcome.newDateText));
}
