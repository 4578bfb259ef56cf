// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVImageFile.h"

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
